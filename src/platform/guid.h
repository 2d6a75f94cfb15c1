// The registry form of a GUID: "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", the
// first three groups as numbers, the last two as bytes in order.
#pragma once

#include <platform/oletypes.h>
#include <platform/export.h>

namespace platform {

// Upper-case text in a block of the task allocator, for the caller to free
// with CoTaskMemFree. E_OUTOFMEMORY leaves *text null.
SORVANE_API HRESULT StringFromCLSID(GUID const& clsid, OLECHAR** text);

// Only the braced form of 38 characters, hex digits of either case. Any other
// text is CO_E_CLASSSTRING with *clsid all zero; a null clsid is
// E_INVALIDARG.
SORVANE_API HRESULT CLSIDFromString(OLECHAR const* text, GUID* clsid);

} // namespace platform
