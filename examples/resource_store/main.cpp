// A client of the resource manager: it registers a store of resources as
// files in a folder and a resource that holds a text, then writes, lists,
// reads back, changes and deletes resources by the texts that name them.
//
//   resource_store [FOLDER]
//
// With no folder it works in a new one under the temporary folder and
// removes it at the end. It prints what it does and exits with 0 when every
// step gave what it should.
#include "foldercontainer.h"
#include "textresource.h"

#include <baseobj/datares.h>
#include <baseobj/resmgr.h>
#include <util/pstring.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

using resource_store::FolderContainer;
using resource_store::TextResource;

namespace {

int gFailures = 0;

void Expect(bool ok, char const* what) {
    if (ok) return;
    std::fprintf(stderr, "resource_store: %s\n", what);
    ++gFailures;
}

std::string ErrorOf(ResourceManager& rm) {
    CPString error;
    rm._get_strError(&error);
    return error.Length() != 0 ? error.GetBuffer() : "";
}

std::string TextOf(DataResource* pdr) {
    auto* text = dynamic_cast<TextResource*>(pdr);
    if (text == nullptr || text->_get_strText().Length() == 0) return "";
    return text->_get_strText().GetBuffer();
}

std::vector<std::string> List(ResourceManager& rm, std::string const& store) {
    std::vector<std::string> names;
    rm.ListResources(
        store.c_str(),
        [](char const* res, void* user) {
            static_cast<std::vector<std::string>*>(user)->push_back(res);
        },
        &names);
    return names;
}

void Print(char const* title, std::vector<std::string> const& names) {
    std::printf("%s\n", title);
    for (std::string const& res : names)
        std::printf("  %s\n", res.c_str());
}

std::string MakeFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "resource_store-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) return {};
    return pattern;
}

} // namespace

int main(int argc, char** argv) {
    std::string const made = argc > 1 ? std::string() : MakeFolder();
    std::string const folder = argc > 1 ? argv[1] : made;
    if (folder.empty()) {
        std::fprintf(stderr, "resource_store: no folder to work in\n");
        return 1;
    }

    // 1. The classes, registered by name: the store by its storage type, the
    //    resource by the type its attributes carry.
    ResourceManager& rm = ResourceManager::_get_grmThe();
    rm.RegisterContainerType("Folder", FolderContainer::Make);
    rm.RegisterResourceType(TextResource::kType, TextResource::Make);

    // 2. Writes. A resource text names the store, "[folder@FOLDER]", and
    //    the resource in it, whose name may have parts.
    std::string const store = "[folder@" + folder + "]";
    char const* const texts[][2] = {{"notes\\monday", "Order valves."},
                                    {"notes\\tuesday", "Calibrate the flow meter."},
                                    {"todo", "Check the pump seals."}};
    auto* text = new TextResource;
    text->AddRef();
    for (auto const& entry : texts) {
        text->SetResourceName(entry[0]);
        text->_set_strText(entry[1]);
        Expect(rm.WriteResource((store + entry[0]).c_str(), text) == text,
               ("a write failed: " + ErrorOf(rm)).c_str());
    }
    Print("stored:", List(rm, store));
    Expect(List(rm, store).size() == 3, "the store does not list three resources");

    // 3. A read-only read gives the shared copy, which cannot be saved.
    std::string const todo = store + "todo";
    DataResource* shared =
        rm.ReadResource(todo.c_str(), DataResource::ACCESS_MODE_READONLY, nullptr);
    Expect(TextOf(shared) == "Check the pump seals.", "the text did not read back");
    std::printf("read back: %s\n", TextOf(shared).c_str());
    Expect(rm.WriteResource(todo.c_str(), shared) == nullptr, "a read-only resource was saved");
    std::printf("saving it: %s\n", ErrorOf(rm).c_str());

    // 4. A read for change gives a copy of the caller's own to change and
    //    save; the new text replaces the old in one step.
    DataResource* mine = rm.ReadResource(todo.c_str(), 0, nullptr);
    if (mine != nullptr) {
        mine->AddRef();
        static_cast<TextResource*>(mine)->_set_strText("Pump seals checked.");
        Expect(rm.WriteResource(todo.c_str(), mine) == mine, "the changed text was not saved");
        mine->Release();
    }
    DataResource* changed =
        rm.ReadResource(todo.c_str(), DataResource::ACCESS_MODE_READONLY, nullptr);
    Expect(TextOf(changed) == "Pump seals checked.", "the change did not read back");
    std::printf("after the change: %s\n", TextOf(changed).c_str());

    // 5. Deleting, and reading what is gone.
    std::string const tuesday = store + "notes\\tuesday";
    Expect(rm.DeleteResource(tuesday.c_str()) == 1, "the delete failed");
    Expect(rm.ReadResource(tuesday.c_str(), DataResource::ACCESS_MODE_READONLY, nullptr) == nullptr,
           "a deleted resource read back");
    std::printf("reading it after the delete: %s\n", ErrorOf(rm).c_str());
    Print("stored:", List(rm, store));
    Expect(List(rm, store).size() == 2, "the store does not list two resources");

    text->Release();
    if (!made.empty()) {
        std::error_code ec;
        std::filesystem::remove_all(made, ec);
    }
    return gFailures == 0 ? 0 : 1;
}
