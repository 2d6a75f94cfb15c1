// What the resource tests share: a manager of their own, with the example
// store's folder container and text resource registered, over a private
// folder; and the process's caches emptied at the end.
#pragma once

#include <baseobj/container.h>
#include <baseobj/cxcache.h>
#include <baseobj/datares.h>
#include <baseobj/exception.h>
#include <baseobj/resmgr.h>
#include <baseobj/resmnkr.h>

#include <foldercontainer.h>
#include <textresource.h>

#include <support/files.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace baseobj_test {

using test_support::ReadAll;
using test_support::ScratchDir;
using test_support::TestFileName;
using test_support::WriteAll;

using resource_store::FolderContainer;
using resource_store::TextResource;

class ResourceStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        Exception::_set_bDisableMessageBoxes(1);
        // The first manager of the process is the process's.
        ASSERT_EQ(ResourceManager::_get_nInstanceCount(), 0u);
        prm = ResourceManager::CreateInstance();
        prm->AddRef();
        ASSERT_EQ(&ResourceManager::_get_grmThe(), prm);
        prm->RegisterContainerType("Folder", FolderContainer::Make);
        prm->RegisterResourceType(TextResource::kType, TextResource::Make);
    }
    void TearDown() override {
        prm->Release();
        Container::EliminateCaches();
        Exception::_set_bDisableMessageBoxes(0);
    }

    std::string Named(std::string const& name) const { return "[folder@" + Folder() + "]" + name; }
    std::string Folder() const { return dir.Path("store"); }
    std::string Error() {
        CPString error;
        prm->_get_strError(&error);
        return error.Length() != 0 ? error.GetBuffer() : "";
    }
    // A counted text resource, for the test to release.
    static TextResource* Text(char const* text) {
        auto* p = new TextResource(text);
        p->AddRef();
        return p;
    }
    static std::string TextOf(DataResource* pdr) {
        auto* text = dynamic_cast<TextResource*>(pdr);
        if (text == nullptr) return "<none>";
        return text->_get_strText().Length() != 0 ? text->_get_strText().GetBuffer() : "";
    }
    // What the resource cache holds under a resource text.
    static DataResource* Cached(std::string const& res) {
        CreateableCache* cache = Container::_get_pcxcResources();
        ResourceMoniker rmnkr;
        rmnkr.ScanBuffer(res.c_str(), 0);
        CPString key = Container::MonikerText(rmnkr);
        Createable* p = cache != nullptr ? cache->Find(key.GetBuffer()) : nullptr;
        return p != nullptr ? dynamic_cast<DataResource*>(p) : nullptr;
    }
    static std::uint32_t CacheLength() {
        CreateableCache* cache = Container::_get_pcxcResources();
        return cache != nullptr ? cache->Length() : 0;
    }
    std::vector<std::string> List() {
        std::vector<std::string> names;
        prm->ListResources(
            Named("").c_str(),
            [](char const* sz, void* pv) {
                static_cast<std::vector<std::string>*>(pv)->push_back(sz);
            },
            &names);
        return names;
    }

    ScratchDir dir;
    ResourceManager* prm = nullptr;
};

} // namespace baseobj_test
