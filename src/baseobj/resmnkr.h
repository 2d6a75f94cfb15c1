// The moniker of a resource in a container: "[type@file]" says which
// container, and the path after it says where in it, as a drive and path
// nodes: "[flattext@x]C:\dir\file". Without the bracket the container is a
// "volume" of sub-type "dos". The first two steps are the container's type
// and its file path (or sub-type); the drive and the path nodes follow.
#pragma once

#include <baseobj/mnkr.h>
#include <platform/export.h>
#include <util/pstring.h>

class SORVANE_API ResourceMoniker : public PMoniker {
public:
    // The container words of the text.
    static constexpr char const* kVolumeType = "volume";
    static constexpr char const* kDosSubType = "dos";
    static constexpr char const* kFlatTextType = "flattext";
    static constexpr char const* kDosFlatTextSubType = "dos flattext";
    // The supplemental text that marks the drive among the path's steps.
    static constexpr char const* kDriveMarker = "drive";

    ResourceMoniker() = default;
    ~ResourceMoniker() override = default;

    // No token leaves the moniker empty. The container's file path runs to
    // the "]", whatever tokens it takes. Throws Exception 270 for a missing
    // "]" and 274 for a name too long for a step; a "[" with nothing after
    // it ends through the fatal check.
    short Scan(char const* sz) override;

    void AddDrive(char const* szDrive);
    void AddPathNode(char const* szNode);
    // The drive's step, or null.
    EdgeSpec* GetDrive();
    static short IsDrive(EdgeSpec* pes);

    // From the first two steps; empty when the moniker has none.
    CPString _get_strContainerType();
    CPString _get_strContainerFilePath();
    // Setting either makes the head if there is none.
    void _set_strContainerType(char const* sz);
    void _set_strContainerFilePath(char const* sz);

    // Arrow form: "<type>->" when a container type is known. Other forms:
    // "[type@file]", the file only when there is one.
    void BuildFirstPartOfMonikerString(CPString* pstr) override;
    // The drive and ":", then "\" and each path node.
    void BuildLastPartOfMonikerString(CPString* pstr) override;
    // "\" and the last path node, or nothing.
    void BuildLastNodeInMonikerString(CPString* pstr);

private:
    void EnsureHead();
    void SetHead(char const* szType, char const* szFilePath);
    void ScanContainer(Scanner& scn);
    void ScanNodes(Scanner& scn, Token* ptokFirst);
};
