#include <baseobj/datares.h>

#include <util/exceptions.h>

#include <cstring>
#include <istream>
#include <ostream>

namespace {

constexpr char kBadTypeNote[] = " :Bad Class Type in Attributes detected";
// Stands where the report line names its source file, so the line says what
// went wrong as well as where.
constexpr char kScriptProblem[] = "DataResource Problem in Insteam Operator";

void PutLE(std::ostream& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.put(static_cast<char>((value >> (8 * i)) & 0xFF));
}

std::uint32_t GetLE(std::istream& in, int bytes) {
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i) {
        int const c = in.get();
        if (c == std::char_traits<char>::eof()) throw kDeadFocc;
        value |= static_cast<std::uint32_t>(static_cast<unsigned char>(c)) << (8 * i);
    }
    return value;
}

// Raw lengths and bytes, so that an empty text and one never filled compare
// equal, as they read back the same.
bool SameText(CPString const& a, CPString const& b) {
    if (a.Length() == 0 || b.Length() == 0) return a.Length() == b.Length();
    return a._get_pdybuf()->EqualityOperator(b._get_pdybuf()) != 0;
}

bool Begins(CPString& str, char const* prefix) {
    return str.Length() >= static_cast<std::int32_t>(std::strlen(prefix)) &&
           std::strncmp(str.GetBuffer(), prefix, std::strlen(prefix)) == 0;
}

// Older writers cut two type names short by a character. The note names the
// resource whose header was mended.
void MendType(CPString& strType, CPString const& strName) {
    char const* source = nullptr;
    if (Begins(strType, "Scri") && strType.Length() == 5) {
        strType = "Script";
        source = kScriptProblem;
    } else if (Begins(strType, "Work") && strType.Length() == 8) {
        strType = "Worksheet";
        source = SV_UNIT_NAME();
    } else {
        return;
    }
    CPString note(strName);
    note += kBadTypeNote;
    Exceptions::_get_gexeptnsThe().Comment(source, __LINE__, note.GetBuffer());
}

} // namespace

void DataResourceAttributes::SetResourceType(char const* szFrom) {
    SV_ASSERT(szFrom != nullptr, "szFrom != 0");
    strType = szFrom;
}

void DataResourceAttributes::SetResourceName(char const* szFrom) {
    SV_ASSERT(szFrom != nullptr, "szFrom != 0");
    strName = szFrom;
}

void DataResourceAttributes::SetResourceDescription(char const* szFrom) {
    SV_ASSERT(szFrom != nullptr, "szFrom != 0");
    strDescription = szFrom;
}

CPString& DataResourceAttributes::GetResourceType(CPString* dest) {
    if (dest != nullptr) *dest = strType;
    return strType;
}

CPString& DataResourceAttributes::GetResourceName(CPString* dest) {
    if (dest != nullptr) *dest = strName;
    return strName;
}

CPString& DataResourceAttributes::GetResourceDescription(CPString* dest) {
    if (dest != nullptr) *dest = strDescription;
    return strDescription;
}

void DataResourceAttributes::SetAttributes(DataResourceAttributes& rdraFrom) {
    SV_ASSERT(rdraFrom.strType.Length() != 0, "rdraFrom.strType.Length() != 0");
    SV_ASSERT(rdraFrom.usVersion > 0, "rdraFrom.usVersion >0");
    SV_ASSERT(rdraFrom.nStorageVersion > 0, "rdraFrom.nStorageVersion >0");
    // Assigning a string to itself empties it.
    if (&rdraFrom == this) return;
    usVersion = rdraFrom.usVersion;
    nStorageVersion = rdraFrom.nStorageVersion;
    ulUserWord = rdraFrom.ulUserWord;
    strName = rdraFrom.strName;
    strDescription = rdraFrom.strDescription;
    strType = rdraFrom.strType;
}

std::ostream& operator<<(std::ostream& out, DataResourceAttributes const& dra) {
    PutLE(out, dra.usVersion, 2);
    PutLE(out, dra.nStorageVersion, 2);
    PutLE(out, dra.ulUserWord, 4);
    return out << dra.strName << dra.strDescription << dra.strType;
}

std::istream& operator>>(std::istream& in, DataResourceAttributes& dra) {
    auto const usVersion = static_cast<std::uint16_t>(GetLE(in, 2));
    auto const nStorageVersion = static_cast<std::uint16_t>(GetLE(in, 2));
    std::uint32_t const ulUserWord = GetLE(in, 4);
    CPString strName;
    CPString strDescription;
    CPString strType;
    in >> strName >> strDescription >> strType;
    MendType(strType, strName);
    dra.usVersion = usVersion;
    dra.nStorageVersion = nStorageVersion;
    dra.ulUserWord = ulUserWord;
    dra.strName = strName;
    dra.strDescription = strDescription;
    dra.strType = strType;
    return in;
}

bool operator==(DataResourceAttributes const& a, DataResourceAttributes const& b) {
    return a.usVersion == b.usVersion && a.nStorageVersion == b.nStorageVersion &&
           a.ulUserWord == b.ulUserWord && SameText(a.strName, b.strName) &&
           SameText(a.strDescription, b.strDescription) && SameText(a.strType, b.strType);
}

DataResource* DataResource::CloneResource(DataResource* pdrTo) {
    if (pdrTo == nullptr || CopyContentTo(pdrTo) == 0) return nullptr;
    pdrTo->SetAttributes(draAttributes);
    pdrTo->strResourceSpecification = strResourceSpecification;
    return pdrTo;
}
