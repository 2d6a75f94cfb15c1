/// \file
/// The moniker of an item in a parent object: "<item>->parent:sub[3]" names
/// the item directly, "[item]->parent:sub[3]" through an indirection,
/// "parent:sub[3]" has no item, and "<item>" or "[item]" alone asks for the
/// item itself. Its first two steps are the item and the parent, in that
/// order; the steps after them are the sub-values.
#pragma once

#include <baseobj/mnkr.h>
#include <platform/export.h>

/// \brief The moniker of an item in a parent object.
///
/// "<item>->parent:sub[3]" names the item directly, "[item]->parent:sub[3]"
/// through an indirection, "parent:sub[3]" has no item, and "<item>" or
/// "[item]" alone asks for the item itself. Its first two steps are the item
/// and the parent, in that order; the steps after them are the sub-values.
class SORVANE_API SorvaneMoniker : public PMoniker {
public:
    SorvaneMoniker() = default;
    ~SorvaneMoniker() override = default;

    /// Reads the text into steps.
    /// \param sz the text.
    /// \return 1 when read.
    /// \throws Exception 214 for a missing or unexpected token (a broken "->"
    ///         among them), 271 for a missing ">", 270 for a missing "]" and 274
    ///         for a name too long for a step.
    short Scan(char const* sz) override;

    /// \param dest when given, receives a copy.
    /// \return the item's name, kept by the moniker.
    char* _get_szItemName(char* dest);
    /// Sets the item's name, making the head if there is none.
    /// \param sz the name.
    void _set_szItemName(char const* sz);
    /// \param dest when given, receives a copy.
    /// \return the parent's name, kept by the moniker.
    char* _get_szParentName(char* dest);
    /// Sets the parent's name, making the head if there is none.
    /// \param sz the name.
    void _set_szParentName(char const* sz);

    /// Appends the other's steps, names by name and indexes by index.
    /// \param pmk the other moniker.
    void Concat(SorvaneMoniker* pmk);
    /// \return 1 when an item was given.
    short ItemSpecified();

    /// \return 1 when the item is named through an indirection ("[item]").
    char _get_bItemIndirection() const { return bItemIndirection; }
    /// \param b 1 for an indirection.
    void _set_bItemIndirection(char b) { bItemIndirection = b; }
    /// \return 1 when an item was given.
    char _get_bItemSpecified() const { return bItemSpecified; }
    /// \param b 1 when an item is given.
    void _set_bItemSpecified(char b) { bItemSpecified = b; }
    /// \return 1 when the item itself is asked for.
    char _get_bFetchItemHandle() const { return bFetchItemHandle; }
    /// \param b 1 to ask for the item itself.
    void _set_bFetchItemHandle(char b) { bFetchItemHandle = b; }

    /// Arrow form: "<item>->" or "[item]->" when there is an item. Other forms:
    /// "[item@parent]", the parent only when there is one.
    /// \param pstr the string appended to.
    void BuildFirstPartOfMonikerString(CPString* pstr) override;
    /// Arrow form: the parent, then ":name" or "[n]" for each sub-value. Other
    /// forms: nothing, the head says it all.
    /// \param pstr the string appended to.
    void BuildLastPartOfMonikerString(CPString* pstr) override;

    /// Adds the step of an element to a moniker.
    /// \param pvItem the step.
    /// \param pvUser the SorvaneMoniker.
    static void itAddEdgeSpec(void* pvItem, void* pvUser);

private:
    // Makes the item and parent steps when they are missing.
    void EnsureHead();
    bool ScanHead(Scanner& scn);
    void ScanSubvalues(Scanner& scn);

    char bItemIndirection = 0;
    char bItemSpecified = 0;
    char bFetchItemHandle = 0;
};
