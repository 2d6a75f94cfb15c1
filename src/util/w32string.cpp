#include <util/w32string.h>

#include <platform/codepage.h>
#include <platform/comalloc.h>
#include <platform/guid.h>
#include <util/exceptions.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <string>

using platform::CP_ACP;

W32String::W32String(OLECHAR** text) {
    AllocBuffer();
    GrowTo(static_cast<std::int32_t>(kConversionArea));
    char* area = GetBuffer();
    int const converted = text != nullptr
                              ? platform::WideCharToMultiByte(CP_ACP, 0, *text, -1, area,
                                                              kConversionArea, nullptr, nullptr)
                              : 0;
    if (converted == 0) {
        area[0] = '\0';
        Exceptions::_get_gexeptnsThe().Comment(SV_UNIT_NAME(), __LINE__, "String constructor failed.");
        return;
    }
    _set_nLength(static_cast<std::uint32_t>(converted));
}

char const* W32String::Text() const {
    return pdybuf != nullptr ? pdybuf->GetBuffer() : "";
}

short W32String::ConvertToUniCode(char const* text, OLECHAR** wide) {
    if (wide == nullptr) return 0;
    *wide = nullptr;
    if (text == nullptr) return 0;
    // Room to spare: no character set makes more UTF-16 characters than
    // bytes.
    std::size_t const room = std::strlen(text) + 5;
    if (room > static_cast<std::size_t>(INT_MAX)) return 0;
    auto* block = static_cast<OLECHAR*>(platform::CoTaskMemAlloc(room * sizeof(OLECHAR)));
    if (block == nullptr) return 0;
    if (platform::MultiByteToWideChar(CP_ACP, 0, text, -1, block, static_cast<int>(room)) == 0) {
        platform::CoTaskMemFree(block);
        return 0;
    }
    *wide = block;
    return 1;
}

void W32String::DestroyUniCodeString(OLECHAR* wide) {
    platform::CoTaskMemFree(wide);
}

void W32String::DestroyBSTRString(OLECHAR* text) {
    platform::SysFreeString(text);
}

short W32String::GetAsUniCode(OLECHAR** wide) const {
    if (wide == nullptr) return 0;
    if (Length() == 0) {
        *wide = nullptr;
        return 0;
    }
    return ConvertToUniCode(Text(), wide);
}

BSTR W32String::GetAsBSTR() const {
    OLECHAR* wide = nullptr;
    GetAsUniCode(&wide);
    BSTR const result = platform::SysAllocString(wide);
    DestroyUniCodeString(wide);
    return result;
}

short W32String::SetFromUniCode(OLECHAR** wide) {
    if (wide == nullptr || *wide == nullptr) return 0;
    std::size_t const length = std::char_traits<OLECHAR>::length(*wide);
    if (length + 7 > static_cast<std::size_t>(INT_MAX)) return 0;
    MakeUnique();
    GrowTo(static_cast<std::int32_t>(length + 7));
    _set_nLength(static_cast<std::uint32_t>(length + 1));
    char* text = GetBuffer();
    if (platform::WideCharToMultiByte(CP_ACP, 0, *wide, -1, text, Size(), nullptr, nullptr) == 0) {
        text[0] = '\0';
        _set_nLength(0);
        return 0;
    }
    return 1;
}

short W32String::SetFromGUID(GUID guid) {
    OLECHAR* text = nullptr;
    if (platform::FAILED(platform::StringFromCLSID(guid, &text))) return 0;
    short const result = SetFromUniCode(&text);
    platform::CoTaskMemFree(text);
    return result;
}

short W32String::GetAsGUID(GUID* guid) const {
    if (guid == nullptr) return 0;
    OLECHAR* wide = nullptr;
    GetAsUniCode(&wide);
    HRESULT const result = platform::CLSIDFromString(wide, guid);
    DestroyUniCodeString(wide);
    return platform::SUCCEEDED(result) ? 1 : 0;
}
