// Objects that can be kept in a Container. A DataResource carries its
// DataResourceAttributes, the header that travels with it in every store:
// two version words, a word for the resource class's own use, and the
// resource's name, description and type.
#pragma once

#include <platform/export.h>
#include <util/createable.h>
#include <util/pstring.h>

#include <cstdint>
#include <iosfwd>

class SORVANE_API DataResourceAttributes : public virtual Createable {
public:
    DataResourceAttributes() = default;
    ~DataResourceAttributes() override = default;

    void SetResourceType(char const* szFrom);
    void SetResourceName(char const* szFrom);
    void SetResourceDescription(char const* szFrom);
    // Copy the text to dest when it is not null; answer the attribute itself.
    CPString& GetResourceType(CPString* dest);
    CPString& GetResourceName(CPString* dest);
    CPString& GetResourceDescription(CPString* dest);

    // Takes the versions, the user word and the three texts of rdraFrom,
    // which must name a type and carry both versions: a default-built set,
    // whose storage version is 0, ends the process.
    void SetAttributes(DataResourceAttributes& rdraFrom);

    std::uint16_t _get_usVersion() const { return usVersion; }
    void _set_usVersion(std::uint16_t us) { usVersion = us; }
    std::uint16_t _get_nStorageVersion() const { return nStorageVersion; }
    void _set_nStorageVersion(std::uint16_t n) { nStorageVersion = n; }
    // A word that the framework stores and never reads: the resource class
    // gives it its meaning.
    std::uint32_t _get_ulUserWord() const { return ulUserWord; }
    void _set_ulUserWord(std::uint32_t ul) { ulUserWord = ul; }

    // Stream form: the version and the storage version as two bytes each and
    // the user word as four, least significant byte first on every host; then
    // the name, the description and the type in the string's stream form.
    SORVANE_API friend std::ostream& operator<<(std::ostream& out,
                                                DataResourceAttributes const& dra);
    // A type cut short by an older writer ("Scrip", "Workshee") is mended and
    // the mending noted in the report log. Data that ends early or a string
    // of an unknown version throws kDeadFocc and leaves the attributes as
    // they were.
    SORVANE_API friend std::istream& operator>>(std::istream& in, DataResourceAttributes& dra);

    SORVANE_API friend bool operator==(DataResourceAttributes const& a,
                                       DataResourceAttributes const& b);

private:
    std::uint16_t usVersion = 1;
    std::uint16_t nStorageVersion = 0;
    std::uint32_t ulUserWord = 0;
    CPString strName;
    CPString strDescription;
    CPString strType;
};

class SORVANE_API DataResource : public virtual Createable {
public:
    // Bits of cAccessMode and of the modes handed to a container.
    static constexpr char ACCESS_MODE_READONLY = 0x01;
    // The caller keeps the resource to itself: a read caches a copy of it,
    // and a write caches nothing.
    static constexpr char ACCESS_MODE_PRIVATE = 0x02;

    DataResource() = default;
    DataResource(DataResource const&) = delete;
    DataResource& operator=(DataResource const&) = delete;
    ~DataResource() override = default;

    // Copies this resource's content, not its attributes, into pdrTo, which
    // is of the same type. Non-zero on success.
    virtual short CopyContentTo(DataResource* pdrTo) = 0;
    // Writes the content alone, the attributes having gone before it.
    virtual short WriteContent(std::ostream& out) = 0;
    // Reads what WriteContent wrote; 0 when the data is not whole.
    virtual short ReadContent(std::istream& in) = 0;

    // The content through CopyContentTo, then the attributes and the
    // resource text. pdrTo on success, null otherwise.
    DataResource* CloneResource(DataResource* pdrTo);

    DataResourceAttributes& _get_draAttributes() { return draAttributes; }
    void SetAttributes(DataResourceAttributes& rdraFrom) { draAttributes.SetAttributes(rdraFrom); }
    void SetResourceType(char const* sz) { draAttributes.SetResourceType(sz); }
    void SetResourceName(char const* sz) { draAttributes.SetResourceName(sz); }
    void SetResourceDescription(char const* sz) { draAttributes.SetResourceDescription(sz); }
    CPString& GetResourceType(CPString* dest) { return draAttributes.GetResourceType(dest); }
    CPString& GetResourceName(CPString* dest) { return draAttributes.GetResourceName(dest); }
    CPString& GetResourceDescription(CPString* dest) {
        return draAttributes.GetResourceDescription(dest);
    }

    char _get_cAccessMode() const { return cAccessMode; }
    void _set_cAccessMode(char c) { cAccessMode = c; }
    std::uint16_t _get_nStorageVersion() const { return draAttributes._get_nStorageVersion(); }
    void _set_nStorageVersion(std::uint16_t n) { draAttributes._set_nStorageVersion(n); }
    CPString& _get_strResourceSpecification() { return strResourceSpecification; }
    void _set_strResourceSpecification(char const* sz) { strResourceSpecification = sz; }

private:
    char cAccessMode = 0;
    DataResourceAttributes draAttributes;
    CPString strResourceSpecification;
};
