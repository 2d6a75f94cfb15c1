#include <platform/registry.h>
#include <platform/userhome.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace {

// Sets or unsets the variables for one test and puts them back after it.
class Environment {
public:
    void Set(char const* name, char const* value) {
        char const* old = std::getenv(name);
        saved_.push_back({name, old != nullptr ? std::optional<std::string>(old) : std::nullopt});
        value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    ~Environment() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it)
            it->second ? ::setenv(it->first, it->second->c_str(), 1) : ::unsetenv(it->first);
    }

private:
    std::vector<std::pair<char const*, std::optional<std::string>>> saved_;
};

} // namespace

TEST(UserHome, HomeFirstThenThePasswordEntryNeverASharedFolder) {
    passwd const* entry = ::getpwuid(::getuid());
    ASSERT_NE(entry, nullptr);
    std::string const fromEntry = entry->pw_dir;
    struct Case {
        char const* home;
        std::string expected;
    };
    // A relative HOME names no place of the user's own either.
    for (Case const& c : {Case{"/home/elsewhere", "/home/elsewhere"}, Case{nullptr, fromEntry},
                          Case{"", fromEntry}, Case{"relative", fromEntry}}) {
        Environment env;
        env.Set("HOME", c.home);
        env.Set("XDG_CONFIG_HOME", nullptr);
        env.Set(platform::kRegistryPathVariable, nullptr);
        EXPECT_EQ(platform::UserHome(), c.expected) << (c.home ? c.home : "(unset)");
        EXPECT_EQ(platform::RegistryDatabasePath(), c.expected + "/.config/orveltech/registry.db");
    }
}
