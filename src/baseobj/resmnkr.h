/// \file
/// The moniker of a resource in a container: "[type@file]" says which
/// container, and the path after it says where in it, as a drive and path
/// nodes: "[flattext@x]C:\dir\file". Without the bracket the container is a
/// "volume" of sub-type "dos". The first two steps are the container's type
/// and its file path (or sub-type); the drive and the path nodes follow.
#pragma once

#include <baseobj/mnkr.h>
#include <platform/export.h>
#include <util/pstring.h>

/// \brief The moniker of a resource in a container.
///
/// "[type@file]" says which container, and the path after it says where in
/// it, as a drive and path nodes: `[flattext@x]C:\dir\file`. Without the
/// bracket the container is a "volume" of sub-type "dos". The first two
/// steps are the container's type and its file path (or sub-type); the drive
/// and the path nodes follow.
class SORVANE_API ResourceMoniker : public PMoniker {
public:
    /// The container type without a bracket.
    static constexpr char const* kVolumeType = "volume";
    /// Its sub-type.
    static constexpr char const* kDosSubType = "dos";
    /// The flat text container's type.
    static constexpr char const* kFlatTextType = "flattext";
    /// The flat text container's sub-type.
    static constexpr char const* kDosFlatTextSubType = "dos flattext";
    /// The supplemental text that marks the drive among the path's steps.
    static constexpr char const* kDriveMarker = "drive";

    ResourceMoniker() = default;
    ~ResourceMoniker() override = default;

    /// Reads the text into steps. No token leaves the moniker empty. The
    /// container's file path runs to the "]", whatever tokens it takes; a "["
    /// with nothing after it ends the process through the fatal check.
    /// \param sz the text.
    /// \return 1 when read.
    /// \throws Exception 270 for a missing "]" and 274 for a name too long for a step.
    short Scan(char const* sz) override;

    /// Appends the drive's step.
    /// \param szDrive the drive.
    void AddDrive(char const* szDrive);
    /// Appends a path node's step.
    /// \param szNode the node.
    void AddPathNode(char const* szNode);
    /// \return the drive's step, or null.
    EdgeSpec* GetDrive();
    /// \param pes a step.
    /// \return 1 when it is a drive's.
    static short IsDrive(EdgeSpec* pes);

    /// \return the container's type, from the first step; empty when there is none.
    CPString _get_strContainerType();
    /// \return the container's file path, from the second step; empty when there is none.
    CPString _get_strContainerFilePath();
    /// Sets the container's type, making the head if there is none.
    /// \param sz the type.
    void _set_strContainerType(char const* sz);
    /// Sets the container's file path, making the head if there is none.
    /// \param sz the path.
    void _set_strContainerFilePath(char const* sz);

    /// Arrow form: "<type>->" when a container type is known. Other forms:
    /// "[type@file]", the file only when there is one.
    /// \param pstr the string appended to.
    void BuildFirstPartOfMonikerString(CPString* pstr) override;
    /// The drive and ":", then a backslash and each path node.
    /// \param pstr the string appended to.
    void BuildLastPartOfMonikerString(CPString* pstr) override;
    /// A backslash and the last path node, or nothing.
    /// \param pstr the string appended to.
    void BuildLastNodeInMonikerString(CPString* pstr);

private:
    void EnsureHead();
    void SetHead(char const* szType, char const* szFilePath);
    void ScanContainer(Scanner& scn);
    void ScanNodes(Scanner& scn, Token* ptokFirst);
};
