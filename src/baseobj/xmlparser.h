// The framework's XML: a callback parser that works in place over a
// character buffer, a reader that gets the buffer from a file, a text or a
// stream, and an emitter that writes a file tag by tag. Text is single bytes;
// there is no handling of encodings and no validation.
#pragma once

#include <util/createable.h>
#include <util/export.h>

#include <cstdint>
#include <cstdio>
#include <iosfwd>

class CPStack;

// A start tag: its name and its attributes as name, value, name, value, ...
// ending in a null entry.
using pfnXMLStartHandler = void (*)(void* pvUser, char const* pszName, char const** ppszAttributes);
using pfnXMLEndHandler = void (*)(void* pvUser, char const* pszName);
// The text that follows a start tag, and its length.
using pfnXMLDefaultHandler = void (*)(void* pvUser, char const* pszText, int nLength);

// Calls its three handlers for start tags, end tags and text while it runs
// over a buffer, which it changes: tag ends become NUL bytes, line ends
// spaces, and entities shrink. Names, attributes and texts are pointers into
// the buffer, valid while the buffer lives. A tag is reported when the next
// "<" is met, so the last tag of a buffer is never reported.
class SORVANE_API CXMLParser {
public:
    // The attribute list of one tag: 49 pairs and the closing null.
    static constexpr int kAttributeSlots = 100;
    static constexpr int kMaxAttributes = kAttributeSlots / 2 - 1;

    CXMLParser() = default;
    virtual ~CXMLParser();

    void SetUserData(void* pv) { pvUserData = pv; }
    void SetElementHandler(pfnXMLStartHandler pfnStart, pfnXMLEndHandler pfnEnd) {
        pfnStartHandler = pfnStart;
        pfnEndHandler = pfnEnd;
    }
    void SetDefaultHandler(pfnXMLDefaultHandler pfn) { pfnDefaultHandler = pfn; }

    // All three handlers must be set. The byte at pBuffer[nLength] must be
    // readable and should be NUL, as in every buffer the framework makes:
    // an empty element's end is handed over as the text at its "/". The
    // result is the count of bytes behind the last fully handled position.
    // A tag with a 50th attribute ends the process through the fatal check.
    unsigned int ParseBuffer(char* pBuffer, unsigned int nLength);

    // Replaces &apos; &amp; &gt; &lt; &quot; in a NUL-terminated text, in
    // place, judging each by the byte behind the "&" alone.
    static void RemoveSpecialSymbols(char* psz);

protected:
    pfnXMLStartHandler pfnStartHandler = nullptr;
    pfnXMLEndHandler pfnEndHandler = nullptr;
    pfnXMLDefaultHandler pfnDefaultHandler = nullptr;
    void* pvUserData = nullptr;
};

class SORVANE_API XMLReader : public CXMLParser {
public:
    XMLReader() = default;
    ~XMLReader() override;

    // With bIsText 0, parses the file read by FileObject::CreateBuffer with
    // nMode as its compression flag; a file that can't be read gives no
    // callback. With bIsText set, pszFile is the XML text itself and is
    // parsed in place: it must be writable. The result is 1.
    short ReadXMLFile(char const* pszFile, short nMode, pfnXMLStartHandler pfnStart,
                      pfnXMLEndHandler pfnEnd, pfnXMLDefaultHandler pfnDefault, void* pvUser,
                      short bIsText);
    // Parses what the stream holds. The result is 1.
    short ReadXML(std::istream* pis, pfnXMLStartHandler pfnStart, pfnXMLEndHandler pfnEnd,
                  pfnXMLDefaultHandler pfnDefault, void* pvUser);

private:
    void SetHandlers(pfnXMLStartHandler pfnStart, pfnXMLEndHandler pfnEnd,
                     pfnXMLDefaultHandler pfnDefault, void* pvUser);
};
