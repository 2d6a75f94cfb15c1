/// \file
/// Objects that can be kept in a Container. A DataResource carries its
/// DataResourceAttributes, the header that travels with it in every store:
/// two version words, a word for the resource class's own use, and the
/// resource's name, description and type.
#pragma once

#include <platform/export.h>
#include <util/createable.h>
#include <util/pstring.h>

#include <cstdint>
#include <iosfwd>

/// \brief The header that travels with a DataResource in every store: two
/// version words, a word for the resource class's own use, and the
/// resource's name, description and type.
class SORVANE_API DataResourceAttributes : public virtual Createable {
public:
    DataResourceAttributes() = default;
    ~DataResourceAttributes() override = default;

    /// \param szFrom the resource's type.
    void SetResourceType(char const* szFrom);
    /// \param szFrom the resource's name.
    void SetResourceName(char const* szFrom);
    /// \param szFrom the resource's description.
    void SetResourceDescription(char const* szFrom);
    /// \param dest when not null, receives a copy.
    /// \return the type, kept by the attributes.
    CPString& GetResourceType(CPString* dest);
    /// \param dest when not null, receives a copy.
    /// \return the name, kept by the attributes.
    CPString& GetResourceName(CPString* dest);
    /// \param dest when not null, receives a copy.
    /// \return the description, kept by the attributes.
    CPString& GetResourceDescription(CPString* dest);

    /// Takes the versions, the user word and the three texts of another set,
    /// which must name a type and carry both versions: a default-built set,
    /// whose storage version is 0, ends the process through the fatal check.
    /// \param rdraFrom the set copied.
    void SetAttributes(DataResourceAttributes& rdraFrom);

    /// \return the resource's version.
    std::uint16_t _get_usVersion() const { return usVersion; }
    /// \param us the resource's version.
    void _set_usVersion(std::uint16_t us) { usVersion = us; }
    /// \return the storage version.
    std::uint16_t _get_nStorageVersion() const { return nStorageVersion; }
    /// \param n the storage version.
    void _set_nStorageVersion(std::uint16_t n) { nStorageVersion = n; }
    /// \return the word that the framework stores and never reads: the resource
    ///         class gives it its meaning.
    std::uint32_t _get_ulUserWord() const { return ulUserWord; }
    /// \param ul the resource class's word.
    void _set_ulUserWord(std::uint32_t ul) { ulUserWord = ul; }

    /// Writes the stream form: the version and the storage version as two bytes
    /// each and the user word as four, least significant byte first on every
    /// host; then the name, the description and the type in the string's stream form.
    /// \param out the stream.
    /// \param dra the attributes.
    /// \return the stream.
    SORVANE_API friend std::ostream& operator<<(std::ostream& out,
                                                DataResourceAttributes const& dra);
    /// Reads the stream form. A type cut short by an older writer ("Scrip",
    /// "Workshee") is mended and the mending noted in the report log.
    /// \param in the stream.
    /// \param dra the attributes; left as they were on a throw.
    /// \return the stream.
    /// \throws std::uint32_t kDeadFocc for data that ends early or a string of an unknown version.
    SORVANE_API friend std::istream& operator>>(std::istream& in, DataResourceAttributes& dra);

    /// \param a a set of attributes.
    /// \param b another.
    /// \return true when versions, user word and texts are equal.
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

/// \brief An object that can be kept in a Container, with its
/// DataResourceAttributes. A client derives its resource classes from it.
class SORVANE_API DataResource : public virtual Createable {
public:
    /// A bit of the access mode: the shared, read-only copy.
    static constexpr char ACCESS_MODE_READONLY = 0x01;
    /// A bit of the access mode: the caller keeps the resource to itself, so a
    /// read caches a copy of it, and a write caches nothing.
    static constexpr char ACCESS_MODE_PRIVATE = 0x02;

    DataResource() = default;
    DataResource(DataResource const&) = delete;
    DataResource& operator=(DataResource const&) = delete;
    ~DataResource() override = default;

    /// Copies this resource's content, not its attributes.
    /// \param pdrTo a resource of the same type.
    /// \return non-zero on success.
    virtual short CopyContentTo(DataResource* pdrTo) = 0;
    /// Writes the content alone, the attributes having gone before it.
    /// \param out the stream.
    /// \return non-zero on success.
    virtual short WriteContent(std::ostream& out) = 0;
    /// Reads what WriteContent() wrote.
    /// \param in the stream.
    /// \return non-zero on success; 0 when the data is not whole.
    virtual short ReadContent(std::istream& in) = 0;

    /// Copies the content through CopyContentTo(), then the attributes and the
    /// resource text.
    /// \param pdrTo a resource of the same type.
    /// \return pdrTo on success, null otherwise.
    DataResource* CloneResource(DataResource* pdrTo);

    /// \return the attributes.
    DataResourceAttributes& _get_draAttributes() { return draAttributes; }
    /// DataResourceAttributes::SetAttributes() on this resource's attributes.
    /// \param rdraFrom the set copied.
    void SetAttributes(DataResourceAttributes& rdraFrom) { draAttributes.SetAttributes(rdraFrom); }
    /// \param sz the resource's type.
    void SetResourceType(char const* sz) { draAttributes.SetResourceType(sz); }
    /// \param sz the resource's name.
    void SetResourceName(char const* sz) { draAttributes.SetResourceName(sz); }
    /// \param sz the resource's description.
    void SetResourceDescription(char const* sz) { draAttributes.SetResourceDescription(sz); }
    /// \param dest when not null, receives a copy.
    /// \return the type.
    CPString& GetResourceType(CPString* dest) { return draAttributes.GetResourceType(dest); }
    /// \param dest when not null, receives a copy.
    /// \return the name.
    CPString& GetResourceName(CPString* dest) { return draAttributes.GetResourceName(dest); }
    /// \param dest when not null, receives a copy.
    /// \return the description.
    CPString& GetResourceDescription(CPString* dest) {
        return draAttributes.GetResourceDescription(dest);
    }

    /// \return the access mode it was read or written with.
    char _get_cAccessMode() const { return cAccessMode; }
    /// \param c the access mode.
    void _set_cAccessMode(char c) { cAccessMode = c; }
    /// \return the storage version.
    std::uint16_t _get_nStorageVersion() const { return draAttributes._get_nStorageVersion(); }
    /// \param n the storage version.
    void _set_nStorageVersion(std::uint16_t n) { draAttributes._set_nStorageVersion(n); }
    /// \return the text that names the resource.
    CPString& _get_strResourceSpecification() { return strResourceSpecification; }
    /// \param sz the text that names the resource.
    void _set_strResourceSpecification(char const* sz) { strResourceSpecification = sz; }

private:
    char cAccessMode = 0;
    DataResourceAttributes draAttributes;
    CPString strResourceSpecification;
};
