// A registry store of the test's own: the store's path variable names a file
// of this test for the object's life; the file and its journal go with it.
#pragma once

#include <platform/registry.h>
#include <support/files.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace test_support {

class ScopedRegistryStore {
public:
    ScopedRegistryStore() : path_(TestFileName("registry.db")) {
        Remove();
        ::setenv(platform::kRegistryPathVariable, path_.c_str(), 1);
    }
    ~ScopedRegistryStore() {
        ::unsetenv(platform::kRegistryPathVariable);
        Remove();
    }
    ScopedRegistryStore(ScopedRegistryStore const&) = delete;
    ScopedRegistryStore& operator=(ScopedRegistryStore const&) = delete;

    std::string const& path() const { return path_; }
    void Remove() const {
        for (char const* suffix : {"", "-wal", "-shm"})
            std::remove((path_ + suffix).c_str());
    }

private:
    std::string path_;
};

} // namespace test_support
