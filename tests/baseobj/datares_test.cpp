#include <baseobj/datares.h>

#include <util/exceptions.h>

#include <support/fatal.h>
#include <support/files.h>

#include <textresource.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace {

using resource_store::TextResource;
using ::testing::ExitedWithCode;

DataResourceAttributes Sample() {
    DataResourceAttributes dra;
    dra._set_usVersion(0x0102);
    dra._set_nStorageVersion(0x0304);
    dra._set_ulUserWord(0x05060708);
    dra.SetResourceName("pump");
    dra.SetResourceDescription("feed pump, north bay");
    dra.SetResourceType("Worksheet");
    return dra;
}

std::string Form(DataResourceAttributes const& dra) {
    std::ostringstream out;
    out << dra;
    return out.str();
}

// The string stream form of a text: marker, version, length with the
// terminator, the bytes, the CRC.
std::string StringForm(char const* text) {
    std::ostringstream out;
    out << CPString(text);
    return out.str();
}

// Reads bytes into attributes that hold Sample(); answers whether it threw.
bool Refused(std::string const& bytes, DataResourceAttributes& dra) {
    std::istringstream in(bytes);
    try {
        in >> dra;
    } catch (std::uint32_t code) {
        EXPECT_EQ(code, kDeadFocc);
        return true;
    }
    return false;
}

std::string TypeRead(char const* stored) {
    DataResourceAttributes dra = Sample();
    dra.SetResourceType(stored);
    std::istringstream in(Form(dra));
    DataResourceAttributes back;
    in >> back;
    CPString type;
    back.GetResourceType(&type);
    return type.Length() != 0 ? type.GetBuffer() : "";
}

} // namespace

TEST(DataResourceAttributesTest, StreamFormIsLittleEndianRawWordsThenThreeStrings) {
    DataResourceAttributes const dra = Sample();
    std::string const form = Form(dra);
    EXPECT_EQ(form, std::string("\x02\x01\x04\x03\x08\x07\x06\x05") + StringForm("pump") +
                        StringForm("feed pump, north bay") + StringForm("Worksheet"));

    DataResourceAttributes back;
    std::istringstream in(form);
    in >> back;
    EXPECT_TRUE(back == dra);
    EXPECT_EQ(in.peek(), std::char_traits<char>::eof());

    // A default set: version 1, the rest zero and empty strings.
    DataResourceAttributes const fresh;
    EXPECT_EQ(Form(fresh), std::string("\x01\0\0\0\0\0\0\0", 8) + std::string("\xFF\0\0\0\0\0", 6) +
                               std::string("\xFF\0\0\0\0\0", 6) + std::string("\xFF\0\0\0\0\0", 6));
}

TEST(DataResourceAttributesTest, DamagedFormsAreRefusedAndLeaveTheAttributes) {
    std::string const whole = Form(Sample());
    // Cut anywhere, inside the raw words or any string, the read refuses.
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        DataResourceAttributes dra = Sample();
        dra.SetResourceName("kept");
        EXPECT_TRUE(Refused(whole.substr(0, cut), dra)) << "cut at " << cut;
        CPString name;
        dra.GetResourceName(&name);
        EXPECT_EQ(name, "kept") << "cut at " << cut;
    }

    std::string const head("\x01\0\x01\0\0\0\0\0", 8);
    std::vector<std::tuple<char const*, std::string, bool>> const cases = {
        {"a length past the data", head + std::string("\xFF\0\x40\0\0\0abc", 9), true},
        {"the largest length", head + std::string("\xFF\0\xFF\xFF\xFF\xFF", 6), true},
        {"an unknown string version", head + std::string("\xFF\x01\0\0\0\0", 6), true},
        {"garbage", std::string("\x13\x37\xFF\xFF\xFF\x02\x99\x00\x00", 9), true},
        // A string in the older form, with no marker and no CRC, still reads.
        {"older strings",
         head + std::string("\x02\0\0\0ab", 6) + std::string("\0\0\0\0", 4) +
             std::string("\x05\0\0\0Text", 9),
         false}};
    for (auto const& [what, bytes, refused] : cases) {
        DataResourceAttributes dra = Sample();
        EXPECT_EQ(Refused(bytes, dra), refused) << what;
    }
}

TEST(DataResourceAttributesTest, TypesCutShortByOlderWritersAreMended) {
    std::tuple<char const*, char const*> const cases[] = {
        {"Scrip", "Script"},        {"Workshee", "Worksheet"}, {"Workbook", "Worksheet"},
        {"Scripts", "Scripts"},     {"Script", "Script"},      {"Scrap", "Scrap"},
        {"Worksheet", "Worksheet"}, {"Work", "Work"}};
    for (auto const& [stored, read] : cases)
        EXPECT_EQ(TypeRead(stored), read) << stored;
}

TEST(DataResourceAttributesDeathTest, MendingIsNotedInTheReportLog) {
    std::string const path = test_support::TestFileName("report.log");
    std::remove(path.c_str());
    EXPECT_EXIT(
        {
            Exceptions::_get_gexeptnsThe()._set_szFilePath(path.c_str());
            TypeRead("Scrip");
            TypeRead("Workshee");
            TypeRead("Script");
            std::exit(0);
        },
        ExitedWithCode(0), "");
    std::string const log = test_support::ReadAll(path);
    EXPECT_NE(log.find("Comment: \"pump :Bad Class Type in Attributes detected\" in DataResource "
                       "Problem in Insteam Operator at line "),
              std::string::npos)
        << log;
    EXPECT_NE(
        log.find("Comment: \"pump :Bad Class Type in Attributes detected\" in baseobj/datares"),
        std::string::npos)
        << log;
    std::remove(path.c_str());
}

TEST(DataResourceDeathTest, AttributesWithoutTypeOrVersionsCannotBeSet) {
    std::pair<void (*)(DataResourceAttributes&), char const*> const cases[] = {
        {[](DataResourceAttributes& d) { d.SetResourceType(""); },
         "rdraFrom.strType.Length() != 0"},
        {[](DataResourceAttributes& d) { d._set_usVersion(0); }, "rdraFrom.usVersion >0"},
        {[](DataResourceAttributes& d) { d._set_nStorageVersion(0); },
         "rdraFrom.nStorageVersion >0"},
        {[](DataResourceAttributes& d) { d.SetResourceName(nullptr); }, "szFrom != 0"}};
    for (auto const& [spoil, check] : cases) {
        test_support::ExpectFatalReport(
            [&] {
                DataResourceAttributes from = Sample();
                spoil(from);
                DataResourceAttributes to;
                to.SetAttributes(from);
            },
            check);
    }
}

TEST(DataResourceTest, CloneCopiesContentAttributesAndResourceTextButNotTheMode) {
    TextResource source("first line");
    source.SetResourceName("notes");
    source._set_strResourceSpecification("[dir@/x]notes");
    source._set_cAccessMode(DataResource::ACCESS_MODE_READONLY);
    TextResource to;
    EXPECT_EQ(source.CloneResource(&to), &to);
    EXPECT_EQ(to._get_strText(), "first line");
    EXPECT_TRUE(to._get_draAttributes() == source._get_draAttributes());
    EXPECT_EQ(to._get_strResourceSpecification(), "[dir@/x]notes");
    EXPECT_EQ(to._get_cAccessMode(), 0);
    // The copy's text is its own.
    to._get_strText() += " changed";
    EXPECT_EQ(source._get_strText(), "first line");

    struct Other : DataResource {
        short CopyContentTo(DataResource*) override { return 0; }
        short WriteContent(std::ostream&) override { return 0; }
        short ReadContent(std::istream&) override { return 0; }
    } other;
    EXPECT_EQ(source.CloneResource(&other), nullptr);
    EXPECT_EQ(source.CloneResource(nullptr), nullptr);
}
