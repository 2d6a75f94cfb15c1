/// \file
/// The registry form of a GUID: "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", the
/// first three groups as numbers, the last two as bytes in order.
#pragma once

#include <platform/oletypes.h>
#include <platform/export.h>

namespace platform {

/// The registry form of a GUID, in upper case.
/// \param clsid the identifier.
/// \param text receives the text in a block of the task allocator, which the
///        caller owns and frees with CoTaskMemFree().
/// \return S_OK, or E_OUTOFMEMORY with *text null.
SORVANE_API HRESULT StringFromCLSID(GUID const& clsid, OLECHAR** text);

/// Reads the registry form of a GUID: only the braced form of 38 characters,
/// hex digits of either case.
/// \param text the text.
/// \param clsid receives the identifier.
/// \return S_OK; CO_E_CLASSSTRING for any other text, with *clsid all zero;
///         E_INVALIDARG for a null clsid.
SORVANE_API HRESULT CLSIDFromString(OLECHAR const* text, GUID* clsid);

} // namespace platform
