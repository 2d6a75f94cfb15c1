#include "textresource.h"

#include <istream>
#include <ostream>

namespace resource_store {

TextResource::TextResource() {
    SetResourceType(kType);
    _set_nStorageVersion(kStorageVersion);
}

TextResource::TextResource(char const* szText) : TextResource() {
    strText = szText;
}

DataResource* TextResource::Make(char const*) {
    return new TextResource;
}

short TextResource::CopyContentTo(DataResource* pdrTo) {
    auto* const to = dynamic_cast<TextResource*>(pdrTo);
    if (to == nullptr) return 0;
    // A copy of its own, so a change to either text leaves the other alone.
    to->strText = strText.Length() != 0 ? strText.GetBuffer() : "";
    return 1;
}

short TextResource::WriteContent(std::ostream& out) {
    out << strText;
    return out.good() ? 1 : 0;
}

short TextResource::ReadContent(std::istream& in) {
    CPString text;
    // The string's reader throws when its data ends early.
    try {
        in >> text;
    } catch (std::uint32_t) {
        return 0;
    }
    strText = text;
    return 1;
}

} // namespace resource_store
