#include "foldercontainer.h"

#include <baseobj/datares.h>
#include <baseobj/resmnkr.h>
#include <util/pstring.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>
#include <vector>

namespace resource_store {

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

bool Plain(char c, bool first) {
    unsigned char const u = static_cast<unsigned char>(c);
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || c == '-' ||
           c == '_' || (c == '.' && !first);
}

int HexValue(char c) {
    char const* const at = std::strchr(kHex, c);
    return c != '\0' && at != nullptr ? static_cast<int>(at - kHex) : -1;
}

bool EndsWith(std::string const& text, std::string const& ending) {
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

std::string Reason() {
    return std::strerror(errno);
}

// Gives back a resource made here that nobody took.
void Discard(DataResource* pdr) {
    if (pdr == nullptr || pdr->_get_nRefCount() != 0) return;
    pdr->AddRef();
    pdr->Release();
}

// The whole file and the version of it that was read, from one open file.
bool ReadWhole(std::string const& path, std::string& bytes, struct stat& st) {
    int const fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    bool ok = fstat(fd, &st) == 0;
    char block[1 << 14];
    while (ok) {
        ssize_t const n = read(fd, block, sizeof block);
        if (n == 0) break;
        if (n < 0 && errno == EINTR) continue;
        if (n < 0)
            ok = false;
        else
            bytes.append(block, static_cast<std::size_t>(n));
    }
    int const saved = errno;
    close(fd);
    errno = saved;
    return ok;
}

} // namespace

FolderContainer::Stamp FolderContainer::StampOf(struct stat const& st) {
    return Stamp{st.st_dev, st.st_ino,
                 std::int64_t{st.st_mtim.tv_sec} * 1000000000 + st.st_mtim.tv_nsec,
                 std::int64_t{st.st_size}};
}

Container* FolderContainer::Make(char const*) {
    return new FolderContainer;
}

std::string FolderContainer::FileName(std::string const& name) {
    std::string file;
    for (std::size_t i = 0; i < name.size(); ++i) {
        char const c = name[i];
        if (Plain(c, i == 0)) {
            file += c;
        } else {
            unsigned char const u = static_cast<unsigned char>(c);
            file += '%';
            file += kHex[u >> 4];
            file += kHex[u & 0x0F];
        }
    }
    return file + kFileEnding;
}

std::string FolderContainer::ResourceName(std::string const& fileName) {
    if (fileName.empty() || fileName[0] == '.' || !EndsWith(fileName, kFileEnding)) return {};
    std::string const coded = fileName.substr(0, fileName.size() - std::strlen(kFileEnding));
    std::string name;
    for (std::size_t i = 0; i < coded.size(); ++i) {
        if (coded[i] != '%') {
            name += coded[i];
            continue;
        }
        int const high = i + 2 < coded.size() ? HexValue(coded[i + 1]) : -1;
        int const low = high >= 0 ? HexValue(coded[i + 2]) : -1;
        if (low < 0) return {};
        name += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return name;
}

// Names and paths --------------------------------------------------------------

// The path of the moniker without its leading separator: "notes\monday".
std::string FolderContainer::NameOf(ResourceMoniker& rmnkr) const {
    CPString last;
    rmnkr.BuildLastPartOfMonikerString(&last);
    std::string name = last.Length() != 0 ? last.GetBuffer() : "";
    if (!name.empty() && name[0] == '\\') name.erase(0, 1);
    return name;
}

std::string FolderContainer::PathOf(std::string const& name) const {
    return folder + "/" + FileName(name);
}

std::string FolderContainer::ResourceText(std::string const& name) const {
    return "[" + type + "@" + folder + "]" + name;
}

short FolderContainer::Fail(std::string const& text) {
    _set_strError(text.c_str());
    return 0;
}

bool FolderContainer::SyncFolder() {
    int const fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return false;
    bool const ok = fsync(fd) == 0;
    close(fd);
    return ok;
}

// Writes a new file beside the old, makes it durable, then puts it in the
// old one's place: a rename within a folder replaces the name at once.
bool FolderContainer::WriteWhole(std::string const& path, std::string const& bytes) {
    std::string const temporary =
        folder + "/.~" + std::to_string(getpid()) + "." + std::to_string(++nTemporary) + ".tmp";
    int const fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    bool ok = true;
    for (std::size_t done = 0; ok && done < bytes.size();) {
        ssize_t const n = write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0)
            ok = false;
        else
            done += static_cast<std::size_t>(n);
    }
    ok = ok && fsync(fd) == 0;
    ok = close(fd) == 0 && ok;
    ok = ok && rename(temporary.c_str(), path.c_str()) == 0;
    int const saved = errno;
    if (!ok) unlink(temporary.c_str());
    errno = saved;
    return ok && SyncFolder();
}

// The operations of a store ---------------------------------------------------

short FolderContainer::OpenStore(ResourceMoniker& rmnkr) {
    CPString path = rmnkr._get_strContainerFilePath();
    CPString kind = rmnkr._get_strContainerType();
    folder = path.Length() != 0 ? path.GetBuffer() : "";
    if (kind.Length() != 0) type = kind.GetBuffer();
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    if (folder.empty()) return Fail("No folder given for the store");
    if (mkdir(folder.c_str(), 0755) != 0 && errno != EEXIST)
        return Fail("Cannot make the folder " + folder + ": " + Reason());
    struct stat st {};
    if (stat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        return Fail("Not a folder: " + folder);
    return 1;
}

short FolderContainer::CloseStore() {
    // Every file is opened and closed within one call: nothing stays open.
    return 1;
}

short FolderContainer::ListStoredResources(ResourceMoniker&, pfnListFunc pfn, void* pvUser) {
    DIR* const dir = opendir(folder.c_str());
    if (dir == nullptr) return Fail("Cannot list the folder " + folder + ": " + Reason());
    std::vector<std::string> names;
    while (dirent const* entry = readdir(dir)) {
        std::string name = ResourceName(entry->d_name);
        if (!name.empty()) names.push_back(std::move(name));
    }
    closedir(dir);
    std::sort(names.begin(), names.end());
    if (pfn != nullptr)
        for (std::string const& name : names)
            pfn(ResourceText(name).c_str(), pvUser);
    return 1;
}

short FolderContainer::DeleteStoredResource(ResourceMoniker& rmnkr) {
    std::string const name = NameOf(rmnkr);
    if (unlink(PathOf(name).c_str()) != 0)
        return Fail("Cannot remove the resource " + ResourceText(name) + ": " + Reason());
    stamps.erase(name);
    return SyncFolder() ? 1 : Fail("Cannot flush the folder " + folder + ": " + Reason());
}

short FolderContainer::IsCachedResourceStale(ResourceMoniker& rmnkr) {
    std::string const name = NameOf(rmnkr);
    struct stat st {};
    auto const known = stamps.find(name);
    if (known == stamps.end() || stat(PathOf(name).c_str(), &st) != 0) return 1;
    return StampOf(st) == known->second ? 0 : 1;
}

DataResource* FolderContainer::Decode(std::string const& name, std::string const& bytes,
                                      DataResource* pdrInto) {
    std::istringstream in(bytes);
    DataResourceAttributes dra;
    try {
        in >> dra;
    } catch (std::uint32_t) {
        Fail("Damaged resource header in " + PathOf(name));
        return nullptr;
    }
    CPString& strType = dra.GetResourceType(nullptr);
    if (strType.Length() == 0 || dra._get_usVersion() == 0 || dra._get_nStorageVersion() == 0) {
        Fail("Resource header without type or version in " + PathOf(name));
        return nullptr;
    }
    std::string const stored = strType.GetBuffer();
    DataResource* pdr = pdrInto;
    if (pdr == nullptr) {
        pfnResourceMaker const make = _get_fnResourceMakerFunction();
        pdr = make != nullptr ? make(stored.c_str()) : nullptr;
        if (pdr == nullptr) {
            Fail("No resource class registered for the type " + stored);
            return nullptr;
        }
    } else if (pdr->GetResourceType(nullptr) != stored.c_str()) {
        Fail("The resource " + ResourceText(name) + " is of the type " + stored);
        return nullptr;
    }
    pdr->SetAttributes(dra);
    if (pdr->ReadContent(in) == 0) {
        if (pdr != pdrInto) Discard(pdr);
        Fail("Damaged resource content in " + PathOf(name));
        return nullptr;
    }
    pdr->_set_strResourceSpecification(ResourceText(name).c_str());
    return pdr;
}

DataResource* FolderContainer::ReadStoredResource(ResourceMoniker& rmnkr, DataResource* pdrInto) {
    std::string const name = NameOf(rmnkr);
    std::string bytes;
    struct stat st {};
    if (!ReadWhole(PathOf(name), bytes, st)) {
        Fail(errno == ENOENT ? "Resource not found: " + ResourceText(name)
                             : "Cannot read the resource " + ResourceText(name) + ": " + Reason());
        return nullptr;
    }
    DataResource* const pdr = Decode(name, bytes, pdrInto);
    if (pdr != nullptr) stamps[name] = StampOf(st);
    return pdr;
}

short FolderContainer::WriteStoredResource(ResourceMoniker& rmnkr, DataResource* pdr) {
    std::string const name = NameOf(rmnkr);
    if (name.empty()) return Fail("No resource named in " + ResourceText(name));
    DataResourceAttributes& dra = pdr->_get_draAttributes();
    // What could not be read back is not written.
    if (dra.GetResourceType(nullptr).Length() == 0 || dra._get_nStorageVersion() == 0)
        return Fail("A resource needs a type and a storage version to be stored");
    std::ostringstream out;
    out << dra;
    if (pdr->WriteContent(out) == 0) return Fail("The resource's content could not be written");
    std::string const path = PathOf(name);
    if (!WriteWhole(path, out.str()))
        return Fail("Cannot write the resource " + ResourceText(name) + ": " + Reason());
    struct stat st {};
    if (stat(path.c_str(), &st) == 0) stamps[name] = StampOf(st);
    return 1;
}

short FolderContainer::StoredResourceExists(ResourceMoniker& rmnkr) {
    struct stat st {};
    return stat(PathOf(NameOf(rmnkr)).c_str(), &st) == 0 ? 1 : 0;
}

short FolderContainer::FlushStore() {
    return SyncFolder() ? 1 : Fail("Cannot flush the folder " + folder + ": " + Reason());
}

} // namespace resource_store
