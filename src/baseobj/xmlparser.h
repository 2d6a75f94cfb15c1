// The framework's XML: a callback parser that works in place over a
// character buffer, a reader that gets the buffer from a file, a text or a
// stream, and an emitter that writes a file tag by tag. Text is single bytes;
// there is no handling of encodings and no validation.
#pragma once

#include <util/createable.h>
#include <platform/export.h>

#include <cstddef>
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

// An open tag of XMLEmitter: its name, and what has happened inside it.
struct XMLTagState {
    static constexpr std::size_t kNameSize = 64;
    char szName[kNameSize] = {};
    unsigned char bHasChildren = 0; // a child tag was started
    unsigned char bHasText = 0;     // Text was called
    unsigned char bStartClosed = 0; // a child wrote the ">" of the start tag
};

// Writes an XML file tag by tag, with tabs for indentation. The ">" of a
// start tag waits for what comes next, so that attributes can follow and a
// tag with nothing inside ends as an empty element. Nothing is escaped:
// callers hand over text that is already safe. Every output operation does
// nothing while no file is open.
class SORVANE_API XMLEmitter : public Createable {
public:
    // Open tags beyond this many are lost, and their EndTag closes the parent.
    static constexpr std::uint32_t kMaxOpenTags = 255;

    XMLEmitter();
    XMLEmitter(XMLEmitter const&) = delete;
    XMLEmitter& operator=(XMLEmitter const&) = delete;
    ~XMLEmitter() override;

    // 0 when the file can't be made; otherwise writes the header, 1.
    short OpenFile(char* pszName);
    // Tags still open stay unclosed.
    void CloseFile();
    void EmitHeader();
    void EmitFooter() {}
    // Names must be shorter than 64 bytes.
    void StartTag(char* pszName);
    void EndTag();
    // Of the newest tag, which must exist.
    void Attribute(char* pszName, char* pszValue);
    // Inside the newest tag, which must exist. bStartClosed 0 writes the
    // start tag's ">" first; later pieces of the same text pass 1.
    void Text(char* pszText, short bStartClosed);

    short _get_bOpen() const { return bOpen; }
    std::int16_t _get_nDepth() const { return nDepth; }

private:
    XMLTagState* Newest() const;
    void Indent();
    void Put(char const* psz);

    std::int16_t bOpen = 0;
    std::int16_t nDepth = 0;
    CPStack* pstkTags;
    std::FILE* pfile = nullptr;
};
