// A resource that holds one text: the smallest class a client registers with
// the resource manager. Its content in a store is the text in the string's
// stream form, after the attributes.
#pragma once

#include <baseobj/datares.h>
#include <util/pstring.h>

#include <cstdint>
#include <iosfwd>

namespace resource_store {

class TextResource : public DataResource {
public:
    // The type every text resource carries, and under which the class is
    // registered.
    static constexpr char const* kType = "Text";
    // Raised when the content's form changes.
    static constexpr std::uint16_t kStorageVersion = 1;

    TextResource();
    explicit TextResource(char const* szText);

    // The maker handed to ResourceManager::RegisterResourceType: an empty
    // text resource, whatever the type asked for.
    static DataResource* Make(char const* szType);

    short CopyContentTo(DataResource* pdrTo) override;
    short WriteContent(std::ostream& out) override;
    short ReadContent(std::istream& in) override;

    CPString& _get_strText() { return strText; }
    void _set_strText(char const* sz) { strText = sz; }

private:
    CPString strText;
};

} // namespace resource_store
