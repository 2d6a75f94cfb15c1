// A store of resources as files in a folder, one file a resource, for the
// resource texts "[folder@/path/of/folder]name" (a name may have parts,
// "notes\monday"). A file holds the resource's attributes in their stream
// form and then its content. A write goes to a new file beside the old one,
// which is flushed to the disk and then renamed over it, so that a process
// stopped at any moment leaves the old resource or the new one, never a mix.
#pragma once

#include <baseobj/container.h>

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>

class DataResource;
class ResourceMoniker;

namespace resource_store {

class FolderContainer : public Container {
public:
    // The storage type under which the class is registered.
    static constexpr char const* kType = "folder";
    // The ending of a resource's file; files of other endings, and names
    // that begin with a dot, are not resources.
    static constexpr char const* kFileEnding = ".res";

    // The maker handed to ResourceManager::RegisterContainerType.
    static Container* Make(char const* szType);

    // The file that holds a resource of the given name, relative to the
    // folder: every character but letters, digits, "-", "_" and an inner "."
    // is written as "%" and two hexadecimal digits.
    static std::string FileName(std::string const& name);
    // The name of the resource a file holds; empty for a file that holds none.
    static std::string ResourceName(std::string const& fileName);

    short OpenStore(ResourceMoniker& rmnkr) override;
    short CloseStore() override;
    short ListStoredResources(ResourceMoniker& rmnkr, pfnListFunc pfn, void* pvUser) override;
    short DeleteStoredResource(ResourceMoniker& rmnkr) override;
    short IsCachedResourceStale(ResourceMoniker& rmnkr) override;
    DataResource* ReadStoredResource(ResourceMoniker& rmnkr, DataResource* pdrInto) override;
    short WriteStoredResource(ResourceMoniker& rmnkr, DataResource* pdr) override;
    short StoredResourceExists(ResourceMoniker& rmnkr) override;
    short FlushStore() override;

    std::string const& Folder() const { return folder; }

private:
    // What identifies one version of a file: a write makes a new file.
    struct Stamp {
        dev_t device = 0;
        ino_t inode = 0;
        std::int64_t modified = 0;
        std::int64_t size = 0;
        bool operator==(Stamp const&) const = default;
    };

    static Stamp StampOf(struct stat const& st);
    std::string NameOf(ResourceMoniker& rmnkr) const;
    std::string PathOf(std::string const& name) const;
    std::string ResourceText(std::string const& name) const;
    short Fail(std::string const& text);
    bool SyncFolder();
    bool WriteWhole(std::string const& path, std::string const& bytes);
    DataResource* Decode(std::string const& name, std::string const& bytes, DataResource* pdrInto);

    std::string folder;
    std::string type = kType;
    // The version of each file as this process last read or wrote it.
    std::map<std::string, Stamp> stamps;
    std::uint32_t nTemporary = 0;
};

} // namespace resource_store
