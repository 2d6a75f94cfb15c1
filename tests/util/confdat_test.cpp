#include <util/confdat.h>

#include <platform/registry.h>
#include <support/fatal.h>
#include <support/registry_store.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace platform;
using test_support::ReadAll;

constexpr char kRoot[] = "SOFTWARE\\Brondavik\\Sorvane\\";

class ConfigDataTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::remove(ini_.c_str());
        ConfigData::_set_cAccessMode(0);
    }
    void TearDown() override { std::remove(ini_.c_str()); }

    static void SetDword(std::string const& key, char const* name, std::uint32_t value) {
        HKEY hkey = nullptr;
        ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr,
                                  &hkey, nullptr),
                  0);
        RegSetValueExA(hkey, name, 0, REG_DWORD, reinterpret_cast<std::uint8_t*>(&value), 4);
        RegCloseKey(hkey);
    }
    // The value's bytes as text, a number as its decimal, or "<absent>".
    static std::string Stored(std::string const& key, char const* name) {
        HKEY hkey = nullptr;
        if (RegOpenKeyExA(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, &hkey) != 0)
            return "<absent>";
        char data[256] = {};
        std::uint32_t size = sizeof data, type = 0;
        LSTATUS const rc = RegQueryValueExA(hkey, name, nullptr, &type,
                                            reinterpret_cast<std::uint8_t*>(data), &size);
        RegCloseKey(hkey);
        if (rc != 0) return "<absent>";
        if (type == REG_DWORD) {
            std::int32_t n;
            std::memcpy(&n, data, 4);
            return "#" + std::to_string(n);
        }
        return data;
    }

    // GetString's result and what the buffer holds after it.
    static std::string Got(ConfigData& config, char const* section, char const* name,
                           char const* dflt) {
        char buffer[32] = "untouched";
        int const nResult = config.GetString(section, name, dflt, buffer, sizeof buffer);
        return std::to_string(nResult) + " " + buffer;
    }

    test_support::ScopedRegistryStore store_;
    std::string const ini_ = test_support::TestFileName("settings.ini");
};

} // namespace

TEST_F(ConfigDataTest, INIModeReadsTheFileAndMigratesEveryRead) {
    std::ofstream(ini_) << "[Units]\nLength = 12\nName=\"metre\"\n";
    ConfigData config;
    config._set_strINIFile(ini_.c_str());
    EXPECT_EQ(ConfigData::_get_cAccessMode(), 1); // no "UseRegistry" value

    EXPECT_EQ(config.GetInt("Units", "Length", 5), 12);
    EXPECT_EQ(config.GetInt("Units", "Width", 7), 7);
    EXPECT_EQ(Got(config, "Units", "Name", "none"), "5 metre");
    EXPECT_EQ(Got(config, "Units", "Colour", "blue"), "4 blue");
    // Each read, the defaults too, went on into the registry.
    std::string const key = std::string(kRoot) + "Units";
    for (auto [name, stored] :
         {std::pair{"Length", "#12"}, {"Width", "#7"}, {"Name", "metre"}, {"Colour", "blue"}})
        EXPECT_EQ(Stored(key, name), stored) << name;
    EXPECT_EQ(ConfigData::_get_cAccessMode(), 1);

    // Writes answer the profile call's result and go to the file alone.
    EXPECT_EQ(config.WriteInt("Units", "Mass", -3), 1);
    EXPECT_EQ(config.WriteString("Units", "Name", "foot"), 1);
    EXPECT_EQ(ReadAll(ini_), "[Units]\nLength = 12\nName=foot\nMass=-3\n");
    EXPECT_EQ(Stored(key, "Mass"), "<absent>");

    // The string form adopts a block of 1024 bytes.
    CPString text;
    config.GetString("Units", "Name", "", &text);
    EXPECT_EQ(text, "foot");
    EXPECT_EQ(text.Size(), 1024);
}

TEST_F(ConfigDataTest, RegistryModeAnswersAsTheStoreHasIt) {
    SetDword(std::string(kRoot) + "General", "UseRegistry", 1);
    ConfigData config;
    EXPECT_EQ(ConfigData::_get_cAccessMode(), 2);
    EXPECT_EQ(config.WriteInt("Units", "Length", 12), 0);
    EXPECT_EQ(config.WriteString("Units", "Name", "metre"), 0);
    EXPECT_EQ(config.GetInt("Units", "Length", 5), 12);
    EXPECT_EQ(config.GetInt("Units", "Absent", 5), 5);
    EXPECT_EQ(config.GetInt("Nowhere", "Length", 6), 6);

    EXPECT_EQ(Got(config, "Nowhere", "Name", "dflt"), "0 untouched");
    EXPECT_EQ(Got(config, "Units", "Absent", "dflt"), "1 dflt");
    EXPECT_EQ(Got(config, "Units", "Name", "dflt"), "1 metre");
    EXPECT_FALSE(fs::exists(ini_));
}

TEST_F(ConfigDataTest, TheFirstObjectFixesTheModeAndTakesTheLibrarysConfigFile) {
    ConfigData first;
    SetDword(std::string(kRoot) + "General", "UseRegistry", 1);
    std::uint32_t const live = ConfigData::_get_nInstanceCount();
    {
        ConfigData second;
        second._set_strRootKey("SOFTWARE\\Elsewhere\\");
        EXPECT_EQ(ConfigData::_get_cAccessMode(), 1);
        EXPECT_EQ(ConfigData::_get_nInstanceCount(), live + 1);
    }
    EXPECT_EQ(ConfigData::_get_nInstanceCount(), live);

    fs::path const path = ConfigData::GetConfigFilePath();
    EXPECT_EQ(first._get_strINIFile(), path.c_str());
    EXPECT_EQ(first._get_strRootKey(), kRoot);
}

TEST_F(ConfigDataTest, WithoutAFileNameGetIntOnlyComments) {
    std::string const log = test_support::ChildReport(
        [] {
            ConfigData config;
            config._set_strINIFile("");
            std::exit(config.GetInt("Units", "Length", 7) == 7 ? 0 : 1);
        },
        0);
    EXPECT_NE(log.find("Comment: \"NULL INI File Name\""), std::string::npos);
}

TEST_F(ConfigDataTest, DeathChecksCarryTheirTexts) {
    char buffer[16];
    // Mode 0: no file name; else no root key in that mode (3 is neither).
    struct Case {
        char mode;
        std::function<void(ConfigData&)> operation;
        char const* text;
    } const cases[] = {
        {0, [&](ConfigData& c) { c.GetString("S", "k", "", buffer, 16); }, "strINIFile.Length()"},
        {0, [](ConfigData& c) { c.WriteInt("S", "k", 1); }, "strINIFile.Length()"},
        {0, [](ConfigData& c) { c.WriteString("S", "k", "v"); }, "strINIFile.Length()"},
        {2, [](ConfigData& c) { c.GetInt("S", "k", 1); }, "strRootKey.Length()"},
        {2, [](ConfigData& c) { c.WriteString("S", "k", "v"); }, "strRootKey.Length()"},
        // A mode that is neither, in the class's own spellings.
        {3, [](ConfigData& c) { c.GetInt("S", "k", 1); }, "1 == 0"},
        {3, [](ConfigData& c) { c.WriteInt("S", "k", 1); }, "1 == 0"},
        {3, [&](ConfigData& c) { c.GetString("S", "k", "", buffer, 16); }, "1 ==0"},
        {3, [](ConfigData& c) { c.WriteString("S", "k", "v"); }, "1==0"},
    };
    for (Case const& c : cases) {
        test_support::ExpectFatalReport(
            [&] {
                ConfigData config;
                if (c.mode == 0) {
                    config._set_strINIFile("");
                } else {
                    config._set_strRootKey("");
                    ConfigData::_set_cAccessMode(c.mode);
                }
                c.operation(config);
            },
            c.text);
    }
}
