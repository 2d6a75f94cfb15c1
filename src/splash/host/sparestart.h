// Starting a server beside this one, for a client that this one cannot
// serve: the new process is nobody's child (the bus's activation does the
// same), so it outlives this server and no one has to reap it.
#pragma once

#include <string>
#include <vector>

namespace splash {

// Runs program with arguments (argv[0] included) and the environment of
// this process plus extra ("NAME=value" each). False when no process could
// be started.
bool StartDetached(std::string const& program, std::vector<std::string> const& arguments,
                   std::vector<std::string> const& extra);

} // namespace splash
