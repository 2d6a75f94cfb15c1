/// \file
/// The framework's XML: a callback parser that works in place over a
/// character buffer, a reader that gets the buffer from a file, a text or a
/// stream, and an emitter that writes a file tag by tag. Text is single bytes;
/// there is no handling of encodings and no validation.
#pragma once

#include <util/createable.h>
#include <platform/export.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iosfwd>

class CPStack;

/// A start tag's handler: the user data, the tag's name, and its attributes
/// as name, value, name, value, ... ending in a null entry.
using pfnXMLStartHandler = void (*)(void* pvUser, char const* pszName, char const** ppszAttributes);
/// An end tag's handler: the user data and the tag's name.
using pfnXMLEndHandler = void (*)(void* pvUser, char const* pszName);
/// The handler of the text that follows a start tag: the user data, the
/// text and its length.
using pfnXMLDefaultHandler = void (*)(void* pvUser, char const* pszText, int nLength);

/// \brief A callback parser that works in place over a character buffer.
///
/// It calls its three handlers for start tags, end tags and text while it
/// runs over a buffer, which it changes: tag ends become NUL bytes, line ends
/// spaces, and entities shrink. Names, attributes and texts are pointers into
/// the buffer, valid while the buffer lives. A tag is reported when the next
/// "<" is met, so the last tag of a buffer is never reported. Text is single
/// bytes; there is no handling of encodings and no validation.
class SORVANE_API CXMLParser {
public:
    /// The attribute list of one tag: 49 pairs and the closing null.
    static constexpr int kAttributeSlots = 100;
    /// The most attributes a tag may have.
    static constexpr int kMaxAttributes = kAttributeSlots / 2 - 1;

    CXMLParser() = default;
    virtual ~CXMLParser();

    /// \param pv the first argument of every handler.
    void SetUserData(void* pv) { pvUserData = pv; }
    /// \param pfnStart the start tags' handler.
    /// \param pfnEnd the end tags' handler.
    void SetElementHandler(pfnXMLStartHandler pfnStart, pfnXMLEndHandler pfnEnd) {
        pfnStartHandler = pfnStart;
        pfnEndHandler = pfnEnd;
    }
    /// \param pfn the texts' handler.
    void SetDefaultHandler(pfnXMLDefaultHandler pfn) { pfnDefaultHandler = pfn; }

    /// Parses a buffer in place. All three handlers must be set, or the process
    /// ends through the fatal check; so does a tag with a 50th attribute.
    /// \param pBuffer the text; the byte at pBuffer[nLength] must be readable
    ///        and should be NUL: an empty element's end is handed over as the
    ///        text at its "/".
    /// \param nLength its length.
    /// \return the count of bytes behind the last fully handled position.
    unsigned int ParseBuffer(char* pBuffer, unsigned int nLength);

    /// Replaces &apos; &amp; &gt; &lt; &quot; in a 0-terminated text, in place,
    /// judging each by the byte behind the "&" alone.
    /// \param psz the text.
    static void RemoveSpecialSymbols(char* psz);

protected:
    /// The start tags' handler.
    pfnXMLStartHandler pfnStartHandler = nullptr;
    /// The end tags' handler.
    pfnXMLEndHandler pfnEndHandler = nullptr;
    /// The texts' handler.
    pfnXMLDefaultHandler pfnDefaultHandler = nullptr;
    /// The handlers' first argument.
    void* pvUserData = nullptr;
};

/// \brief A parser that gets its buffer from a file, a text or a stream.
class SORVANE_API XMLReader : public CXMLParser {
public:
    XMLReader() = default;
    /// Frees the buffer it read.
    ~XMLReader() override;

    /// Parses a file, or a text.
    /// \param pszFile with bIsText 0, the file, read by FileObject::CreateBuffer()
    ///        (one that can't be read gives no callback); with bIsText set, the
    ///        XML text itself, parsed in place: it must be writable.
    /// \param nMode the file's compression flag.
    /// \param pfnStart the start tags' handler.
    /// \param pfnEnd the end tags' handler.
    /// \param pfnDefault the texts' handler.
    /// \param pvUser the handlers' first argument.
    /// \param bIsText non-zero when pszFile is the text.
    /// \return 1.
    short ReadXMLFile(char const* pszFile, short nMode, pfnXMLStartHandler pfnStart,
                      pfnXMLEndHandler pfnEnd, pfnXMLDefaultHandler pfnDefault, void* pvUser,
                      short bIsText);
    /// Parses what the stream holds.
    /// \param pis the stream.
    /// \param pfnStart the start tags' handler.
    /// \param pfnEnd the end tags' handler.
    /// \param pfnDefault the texts' handler.
    /// \param pvUser the handlers' first argument.
    /// \return 1.
    short ReadXML(std::istream* pis, pfnXMLStartHandler pfnStart, pfnXMLEndHandler pfnEnd,
                  pfnXMLDefaultHandler pfnDefault, void* pvUser);

private:
    void SetHandlers(pfnXMLStartHandler pfnStart, pfnXMLEndHandler pfnEnd,
                     pfnXMLDefaultHandler pfnDefault, void* pvUser);
};

/// \brief An open tag of XMLEmitter: its name, and what has happened inside it.
struct XMLTagState {
    /// The size of the name.
    static constexpr std::size_t kNameSize = 64;
    /// The tag's name.
    char szName[kNameSize] = {};
    unsigned char bHasChildren = 0; ///< a child tag was started
    unsigned char bHasText = 0;     ///< Text was called
    unsigned char bStartClosed = 0; ///< a child wrote the ">" of the start tag
};

/// \brief Writes an XML file tag by tag, with tabs for indentation.
///
/// The ">" of a start tag waits for what comes next, so that attributes can
/// follow and a tag with nothing inside ends as an empty element. Nothing is
/// escaped: callers hand over text that is already safe. Every output
/// operation does nothing while no file is open.
class SORVANE_API XMLEmitter : public Createable {
public:
    /// Open tags beyond this many are lost, and their EndTag() closes the parent.
    static constexpr std::uint32_t kMaxOpenTags = 255;

    XMLEmitter();
    XMLEmitter(XMLEmitter const&) = delete;
    XMLEmitter& operator=(XMLEmitter const&) = delete;
    /// Closes the file.
    ~XMLEmitter() override;

    /// Makes the file and writes the header.
    /// \param pszName the file.
    /// \return 1, or 0 when the file can't be made.
    short OpenFile(char* pszName);
    /// Closes the file; tags still open stay unclosed.
    void CloseFile();
    /// Writes the XML declaration.
    void EmitHeader();
    /// Writes nothing.
    void EmitFooter() {}
    /// Opens a tag. A null name, or one of 64 bytes or more, ends the process
    /// through the fatal check.
    /// \param pszName the name.
    void StartTag(char* pszName);
    /// Closes the newest tag, as an empty element when nothing was inside.
    void EndTag();
    /// Writes an attribute of the newest tag, which must exist (else the fatal check).
    /// \param pszName the name.
    /// \param pszValue the value, already escaped.
    void Attribute(char* pszName, char* pszValue);
    /// Writes text inside the newest tag, which must exist (else the fatal check).
    /// \param pszText the text, already escaped.
    /// \param bStartClosed 0 writes the start tag's ">" first; later pieces of
    ///        the same text pass 1.
    void Text(char* pszText, short bStartClosed);

    /// \return non-zero while a file is open.
    short _get_bOpen() const { return bOpen; }
    /// \return the number of open tags.
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
