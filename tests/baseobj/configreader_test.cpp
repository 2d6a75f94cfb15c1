#include <baseobj/configreader.h>
#include <util/confdat.h>

#include <platform/registry.h>
#include <support/fatal.h>
#include <support/registry_store.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using namespace platform;

class ConfigReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::remove(ini_.c_str());
        ConfigReader::_set_cAccessMode(0);
        ConfigData::_set_cAccessMode(0);
    }
    void TearDown() override { std::remove(ini_.c_str()); }
    test_support::ScopedRegistryStore store_;
    std::string const ini_ = test_support::TestFileName("settings.ini");
};

} // namespace

TEST_F(ConfigReaderTest, KeepsItsOwnSwitchAndReadsTheINIFile) {
    ConfigReader reader;
    EXPECT_EQ(reader._get_strINIFile(), "sorvane.ini");
    EXPECT_EQ(ConfigReader::_get_cAccessMode(), 1);

    // "UseRegistry" set now reaches ConfigData's first object, not ConfigReader.
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\Brondavik\\Sorvane\\General", 0,
                              nullptr, 0, KEY_WRITE, nullptr, &key, nullptr),
              0);
    std::uint32_t const one = 1;
    RegSetValueExA(key, "UseRegistry", 0, REG_DWORD, reinterpret_cast<std::uint8_t const*>(&one),
                   4);
    RegCloseKey(key);
    ConfigData data;
    ConfigReader second;
    EXPECT_EQ(ConfigData::_get_cAccessMode(), 2);
    EXPECT_EQ(ConfigReader::_get_cAccessMode(), 1);

    std::ofstream(ini_) << "[Display]\r\nPrecision=4\r\n";
    reader._set_strINIFile(ini_.c_str());
    // Each read is migrated as what it read: the string, then the number.
    char buffer[8];
    EXPECT_EQ(reader.GetString("Display", "Precision", "", buffer, sizeof buffer), 1);
    EXPECT_EQ(reader.GetInt("display", "precision", 2), 4);
    EXPECT_EQ(reader.WriteInt("Display", "Digits", 6), 1);
    // The read was migrated: ConfigData, in registry mode, finds it.
    EXPECT_EQ(data.GetInt("Display", "Precision", 0), 4);
    EXPECT_EQ(data.GetInt("Display", "Digits", 0), 0);
}

TEST_F(ConfigReaderTest, BadModeIsOneSpellingForEveryOperation) {
    for (int operation = 0; operation < 2; ++operation)
        test_support::ExpectFatalReport(
            [&] {
                ConfigReader reader;
                ConfigReader::_set_cAccessMode(5);
                char buffer[8];
                if (operation == 0) reader.GetString("S", "k", "", buffer, sizeof buffer);
                reader.WriteString("S", "k", "v");
            },
            "1 == 0");
}

namespace {

fs::path ConfigCorpus(char const* name) {
    return fs::path(__FILE__).parent_path() / "configfile_corpus" / name;
}

// The integer a load throws, or 0.
int LoadFailure(ConfigFile& cf, fs::path const& path) {
    try {
        cf.Load(path.c_str());
    } catch (int n) {
        return n;
    }
    return 0;
}

} // namespace

TEST(ConfigFileTest, CorpusFilesLoadOrFailWithTheirIntegers) {
    std::tuple<char const*, int> const cases[] = {{"good.xml", 0},
                                                  {"written.xml", 0x54998C},
                                                  {"name_not_first.xml", 0x54998C},
                                                  {"nested.xml", 0x11201E},
                                                  {"orphan_parameter.xml", 0x181CD},
                                                  {"nameless_parameter.xml", 0x69F6BC7},
                                                  {"stray_close.xml", 0x21E88E}};
    for (auto const& [file, thrown] : cases) {
        ConfigFile cf;
        EXPECT_EQ(LoadFailure(cf, ConfigCorpus(file)), thrown) << file;
    }

    ConfigFile cf;
    ASSERT_EQ(LoadFailure(cf, ConfigCorpus("good.xml")), 0);
    EXPECT_EQ(cf.GetInt("Display", "Precision"), 4);
    EXPECT_EQ(cf.GetString("Display", "Unit"), std::string("metre")); // the first of a name
    EXPECT_EQ(cf.GetString("Display", "Label"), std::string("a & b"));
    EXPECT_EQ(cf.GetString("Paths", "Root"), std::string("C:\\Program Files\\Orvel"));
    EXPECT_EQ(cf.GetString("Paths", "Absent"), nullptr);
    EXPECT_EQ(cf.GetInt("Absent", "Precision"), 0);
    // A later load in the same process starts with no section open.
    EXPECT_EQ(LoadFailure(cf, ConfigCorpus("good.xml")), 0);
    EXPECT_EQ(cf.Load("/no/such/file.xml"), 0);
}

TEST(ConfigFileTest, SavesWhatItsOwnLoadRefuses) {
    fs::path const path = test_support::TestFileName("saved.xml");
    {
        ConfigFile cf;
        cf.SetInt("Display", "Precision", 4);
        cf.SetString("Display", "Precision", "five"); // a set replaces
        cf.SetInt("Units", "Length", -2);
        EXPECT_EQ(cf.GetString("Display", "Precision"), std::string("five"));
        EXPECT_EQ(cf.GetInt("Units", "Length"), -2);
        ASSERT_EQ(cf.Save(path.c_str()), 1);
    }
    std::string const text = test_support::ReadAll(path.string());
    // Sections in the dictionary's walk order: by the slot of each name's CRC.
    std::string const display = "<Section Name=\"Display\">\r\n"
                                "    <Parameter Name=\"Precision\" Val=\"five\"/>\r\n"
                                "</Section>\r\n";
    std::string const units = "<Section Name=\"Units\">\r\n"
                              "    <Parameter Name=\"Length\" Val=\"-2\"/>\r\n"
                              "</Section>\r\n";
    bool const displayFirst = (CPDictionary::HashOnString("Display") & 0xFF) <
                              (CPDictionary::HashOnString("Units") & 0xFF);
    EXPECT_EQ(text, displayFirst ? display + units : units + display);
    ConfigFile again;
    EXPECT_EQ(LoadFailure(again, path), 0x54998C);
    std::remove(path.c_str());
}
