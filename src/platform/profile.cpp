#include <platform/profile.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kWindowsLineEnd = "\r\n";

// ---- Reading the text -------------------------------------------------------

enum class LineKind { Blank, Comment, Section, Entry };

struct ProfileLine {
    LineKind kind = LineKind::Blank;
    std::string_view name;  // the section's name, or the entry's key
    std::string_view value; // the entry's value, when it has one
    bool hasValue = false;
    std::size_t begin = 0; // the line in the text, its ending included
    std::size_t end = 0;
};

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool SameName(std::string_view a, char const* b) {
    std::size_t i = 0;
    for (; i < a.size(); ++i)
        if (b[i] == '\0' || Lower(a[i]) != Lower(b[i])) return false;
    return b[i] == '\0';
}

ProfileLine ClassifyLine(std::string_view text, std::size_t begin, std::size_t end) {
    ProfileLine line;
    line.begin = begin;
    line.end = end;
    std::string_view const body = Trim(text);
    if (body.empty()) return line;
    if (body.front() == '[') {
        std::size_t const close = body.rfind(']');
        if (close != std::string_view::npos) {
            line.kind = LineKind::Section;
            line.name = body.substr(1, close - 1);
            return line;
        }
    }
    if (body.front() == ';') {
        line.kind = LineKind::Comment;
        return line;
    }
    line.kind = LineKind::Entry;
    std::size_t const equals = body.find('=');
    if (equals == std::string_view::npos) {
        line.name = body;
        return line;
    }
    line.name = Trim(body.substr(0, equals));
    line.value = Trim(body.substr(equals + 1));
    line.hasValue = true;
    return line;
}

// The text's lines, past a byte-order mark.
std::vector<ProfileLine> SplitLines(std::string_view text) {
    std::vector<ProfileLine> lines;
    std::size_t at = text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
    while (at < text.size()) {
        std::size_t const newline = text.find('\n', at);
        std::size_t const end = newline == std::string_view::npos ? text.size() : newline + 1;
        lines.push_back(ClassifyLine(text.substr(at, end - at), at, end));
        at = end;
    }
    return lines;
}

// The first section of that name, as the index of its header.
std::optional<std::size_t> FindSection(std::vector<ProfileLine> const& lines, char const* name) {
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (lines[i].kind == LineKind::Section && SameName(lines[i].name, name)) return i;
    return std::nullopt;
}

// The index one past the section's last line.
std::size_t SectionEnd(std::vector<ProfileLine> const& lines, std::size_t header) {
    std::size_t i = header + 1;
    while (i < lines.size() && lines[i].kind != LineKind::Section)
        ++i;
    return i;
}

std::optional<std::size_t> FindKey(std::vector<ProfileLine> const& lines, std::size_t header,
                                   char const* key) {
    std::size_t const end = SectionEnd(lines, header);
    for (std::size_t i = header + 1; i < end; ++i)
        if (lines[i].kind == LineKind::Entry && SameName(lines[i].name, key)) return i;
    return std::nullopt;
}

// ---- The file ---------------------------------------------------------------

// The whole file; empty when it is missing or unreadable.
std::string ReadWholeFile(char const* fileName, bool* exists = nullptr) {
    std::string text;
    if (exists != nullptr) *exists = false;
    int const fd = ::open(fileName, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return text;
    if (exists != nullptr) *exists = true;
    struct stat info {};
    if (::fstat(fd, &info) == 0 && info.st_size > 0)
        text.reserve(static_cast<std::size_t>(info.st_size));
    char chunk[65536];
    for (;;) {
        ssize_t const got = ::read(fd, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        text.append(chunk, static_cast<std::size_t>(got));
    }
    ::close(fd);
    return text;
}

std::string FolderOf(std::string const& path) {
    std::size_t const slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

// Holds an exclusive lock on the folder of a file for its life.
class FolderLock {
public:
    explicit FolderLock(std::string const& folder)
        : fd_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (fd_ < 0) return;
        int rc;
        do {
            rc = ::flock(fd_, LOCK_EX);
        } while (rc != 0 && errno == EINTR);
        if (rc != 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }
    ~FolderLock() {
        if (fd_ >= 0) ::close(fd_); // closing releases the lock
    }
    FolderLock(FolderLock const&) = delete;
    FolderLock& operator=(FolderLock const&) = delete;
    bool Held() const { return fd_ >= 0; }

private:
    int fd_;
};

bool WriteAll(int fd, std::string_view text) {
    while (!text.empty()) {
        ssize_t const put = ::write(fd, text.data(), text.size());
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
}

std::string TemporaryNameFor(std::string const& path) {
    static std::atomic<unsigned> counter{0};
    return path + ".~" + std::to_string(::getpid()) + "." + std::to_string(++counter);
}

// Writes the text to a new file beside the old one and renames it over it.
// A new file gets the permissions the umask allows; a replaced one keeps its.
bool ReplaceFile(std::string const& path, std::string_view text) {
    std::string const temporary = TemporaryNameFor(path);
    int const fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    struct stat old {};
    if (::stat(path.c_str(), &old) == 0) ::fchmod(fd, old.st_mode & 07777);
    bool ok = WriteAll(fd, text) && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    ok = ok && ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!ok) ::unlink(temporary.c_str());
    return ok;
}

// ---- Answers into the caller's buffer --------------------------------------

std::uint32_t CopyText(std::string_view text, char* dest, std::uint32_t size) {
    if (size == 0) return 0;
    std::size_t const n = std::min<std::size_t>(text.size(), size - 1);
    std::memcpy(dest, text.data(), n);
    dest[n] = '\0';
    return static_cast<std::uint32_t>(n);
}

std::string_view StripQuotes(std::string_view value) {
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
        value.back() == value.front())
        return value.substr(1, value.size() - 2);
    return value;
}

std::string_view DefaultText(char const* defaultText) {
    std::string_view text = defaultText == nullptr ? "" : defaultText;
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

// Names (or entries) one after another, each ending with a NUL, and the list
// with one more; the last that does not fit is cut.
class ListWriter {
public:
    ListWriter(char* dest, std::uint32_t size) : dest_(dest), size_(size) {}

    // False once the list is full.
    bool Add(std::string_view item) {
        if (full_) return false;
        std::size_t const room = size_ - 1 - used_; // one kept for the last NUL
        if (item.size() + 1 > room) {
            if (room > 0) {
                std::memcpy(dest_ + used_, item.data(), room - 1);
                dest_[used_ + room - 1] = '\0';
                used_ += room;
            }
            full_ = true;
            return false;
        }
        std::memcpy(dest_ + used_, item.data(), item.size());
        used_ += item.size();
        dest_[used_++] = '\0';
        return true;
    }

    std::uint32_t Finish() {
        dest_[used_] = '\0';
        if (full_) return size_ >= 2 ? size_ - 2 : 0;
        return static_cast<std::uint32_t>(used_);
    }
    std::size_t Used() const { return used_; }

private:
    char* dest_;
    std::size_t size_;
    std::size_t used_ = 0;
    bool full_ = false;
};

std::uint32_t ListSections(std::vector<ProfileLine> const& lines, char* dest, std::uint32_t size) {
    if (size == 0) return 0;
    ListWriter list(dest, size);
    for (ProfileLine const& line : lines)
        if (line.kind == LineKind::Section && !line.name.empty() && !list.Add(line.name)) break;
    return list.Finish();
}

std::uint32_t ListKeys(std::vector<ProfileLine> const& lines, std::size_t header, char* dest,
                       std::uint32_t size) {
    ListWriter list(dest, size);
    std::size_t const end = SectionEnd(lines, header);
    for (std::size_t i = header + 1; i < end; ++i)
        if (lines[i].kind == LineKind::Entry && !lines[i].name.empty() && !list.Add(lines[i].name))
            break;
    return list.Finish();
}

// The first key of the section that has a value, unquoted.
std::optional<std::string_view> FindValue(std::vector<ProfileLine> const& lines,
                                          char const* section, char const* key) {
    std::optional<std::size_t> const header = FindSection(lines, section);
    if (!header) return std::nullopt;
    std::optional<std::size_t> const entry = FindKey(lines, *header, key);
    if (!entry || !lines[*entry].hasValue) return std::nullopt;
    return StripQuotes(lines[*entry].value);
}

// ---- Changing the text ------------------------------------------------------

std::string_view LineEndOf(std::string_view text) {
    std::size_t const newline = text.find('\n');
    if (newline == std::string_view::npos) return kWindowsLineEnd;
    return newline > 0 && text[newline - 1] == '\r' ? kWindowsLineEnd : "\n";
}

bool EndsWithNewline(std::string_view text, ProfileLine const& line) {
    return line.end > line.begin && text[line.end - 1] == '\n';
}

std::string ReplaceRange(std::string_view text, std::size_t begin, std::size_t end,
                         std::string_view with) {
    std::string out;
    out.reserve(text.size() + with.size());
    out.append(text.substr(0, begin));
    out.append(with);
    out.append(text.substr(end));
    return out;
}

std::string DeleteSection(std::string_view text, std::vector<ProfileLine> const& lines,
                          char const* section) {
    std::optional<std::size_t> const header = FindSection(lines, section);
    if (!header) return std::string(text);
    std::size_t const end = SectionEnd(lines, *header);
    std::size_t const to = end < lines.size() ? lines[end].begin : text.size();
    return ReplaceRange(text, lines[*header].begin, to, "");
}

std::string DeleteKey(std::string_view text, std::vector<ProfileLine> const& lines,
                      char const* section, char const* key) {
    std::optional<std::size_t> const header = FindSection(lines, section);
    if (!header) return std::string(text);
    std::optional<std::size_t> const entry = FindKey(lines, *header, key);
    if (!entry) return std::string(text);
    return ReplaceRange(text, lines[*entry].begin, lines[*entry].end, "");
}

std::string SetKey(std::string_view text, std::vector<ProfileLine> const& lines,
                   char const* section, char const* key, char const* value) {
    std::string_view const lineEnd = LineEndOf(text);
    std::optional<std::size_t> const header = FindSection(lines, section);
    if (!header) {
        std::string added;
        if (!text.empty() && text.back() != '\n') added += lineEnd;
        added = added + "[" + section + "]" + std::string(lineEnd) + key + "=" + value +
                std::string(lineEnd);
        return std::string(text) + added;
    }
    if (std::optional<std::size_t> const entry = FindKey(lines, *header, key)) {
        ProfileLine const& line = lines[*entry];
        std::string replaced = std::string(line.name) + "=" + value;
        if (EndsWithNewline(text, line)) replaced += lineEnd;
        return ReplaceRange(text, line.begin, line.end, replaced);
    }
    std::size_t after = *header;
    std::size_t const end = SectionEnd(lines, *header);
    for (std::size_t i = *header + 1; i < end; ++i)
        if (lines[i].kind == LineKind::Entry) after = i;
    std::string const entry = std::string(key) + "=" + value;
    std::string const added = EndsWithNewline(text, lines[after]) ? entry + std::string(lineEnd)
                                                                  : std::string(lineEnd) + entry;
    return ReplaceRange(text, lines[after].end, lines[after].end, added);
}

} // namespace

std::uint32_t GetPrivateProfileStringA(char const* section, char const* key,
                                       char const* defaultText, char* dest, std::uint32_t size,
                                       char const* fileName) {
    if (size == 0 || dest == nullptr) return 0;
    std::string const text = fileName == nullptr ? std::string() : ReadWholeFile(fileName);
    std::vector<ProfileLine> const lines = SplitLines(text);
    if (section == nullptr) return ListSections(lines, dest, size);
    if (key == nullptr) {
        std::optional<std::size_t> const header = FindSection(lines, section);
        if (header && size >= 2) {
            std::uint32_t const n = ListKeys(lines, *header, dest, size);
            if (dest[0] != '\0') return n;
        }
        return CopyText(DefaultText(defaultText), dest, size);
    }
    std::optional<std::string_view> const value = FindValue(lines, section, key);
    return CopyText(value ? *value : DefaultText(defaultText), dest, size);
}

std::uint32_t GetPrivateProfileIntA(char const* section, char const* key, std::int32_t defaultValue,
                                    char const* fileName) {
    if (section == nullptr || key == nullptr || fileName == nullptr)
        return static_cast<std::uint32_t>(defaultValue);
    std::string const text = ReadWholeFile(fileName);
    std::optional<std::string_view> value = FindValue(SplitLines(text), section, key);
    if (!value || value->empty()) return static_cast<std::uint32_t>(defaultValue);
    bool negative = false;
    if (value->front() == '-' || value->front() == '+') {
        negative = value->front() == '-';
        value->remove_prefix(1);
    }
    std::uint32_t n = 0;
    for (char const c : *value) {
        if (c < '0' || c > '9') break;
        n = n * 10u + static_cast<std::uint32_t>(c - '0');
    }
    return negative ? 0u - n : n;
}

std::uint32_t GetPrivateProfileSectionNamesA(char* dest, std::uint32_t size, char const* fileName) {
    if (size == 0 || dest == nullptr) return 0;
    std::string const text = fileName == nullptr ? std::string() : ReadWholeFile(fileName);
    return ListSections(SplitLines(text), dest, size);
}

std::uint32_t GetPrivateProfileSectionA(char const* section, char* dest, std::uint32_t size,
                                        char const* fileName) {
    if (size == 0 || dest == nullptr) return 0;
    std::string const text = fileName == nullptr ? std::string() : ReadWholeFile(fileName);
    std::vector<ProfileLine> const lines = SplitLines(text);
    ListWriter list(dest, size);
    if (section != nullptr) {
        if (std::optional<std::size_t> const header = FindSection(lines, section)) {
            std::size_t const end = SectionEnd(lines, *header);
            for (std::size_t i = *header + 1; i < end; ++i) {
                ProfileLine const& line = lines[i];
                if (line.kind != LineKind::Entry) continue;
                std::string item(line.name);
                if (line.hasValue) item = item + "=" + std::string(line.value);
                if (!list.Add(item)) break;
            }
        }
    }
    return list.Finish();
}

std::int32_t WritePrivateProfileStringA(char const* section, char const* key, char const* value,
                                        char const* fileName) {
    if (section == nullptr || fileName == nullptr) return 0;
    std::string const path = fileName;
    FolderLock const lock(FolderOf(path));
    if (!lock.Held()) return 0;
    bool exists = false;
    std::string const text = ReadWholeFile(fileName, &exists);
    std::vector<ProfileLine> const lines = SplitLines(text);
    std::string changed;
    if (key == nullptr)
        changed = DeleteSection(text, lines, section);
    else if (value == nullptr)
        changed = DeleteKey(text, lines, section, key);
    else
        changed = SetKey(text, lines, section, key, value);
    if (exists && changed == text) return 1;
    if (!exists && (key == nullptr || value == nullptr)) return 1; // nothing to delete
    return ReplaceFile(path, changed) ? 1 : 0;
}

} // namespace platform
