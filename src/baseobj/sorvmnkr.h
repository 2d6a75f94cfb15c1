// The moniker of an item in a parent object: "<item>->parent:sub[3]" names
// the item directly, "[item]->parent:sub[3]" through an indirection,
// "parent:sub[3]" has no item, and "<item>" or "[item]" alone asks for the
// item itself. Its first two steps are the item and the parent, in that
// order; the steps after them are the sub-values.
#pragma once

#include <baseobj/mnkr.h>
#include <platform/export.h>

class SORVANE_API SorvaneMoniker : public PMoniker {
public:
    SorvaneMoniker() = default;
    ~SorvaneMoniker() override = default;

    // Throws Exception 214 for a missing or unexpected token (a broken "->"
    // among them), 271 for a missing ">", 270 for a missing "]" and 274 for
    // a name too long for a step.
    short Scan(char const* sz) override;

    // The head's names; copied to dest as well when dest is given. Setting
    // one makes the head if there is none.
    char* _get_szItemName(char* dest);
    void _set_szItemName(char const* sz);
    char* _get_szParentName(char* dest);
    void _set_szParentName(char const* sz);

    // Appends the other's steps, names by name and indexes by index.
    void Concat(SorvaneMoniker* pmk);
    // Whether an item was given.
    short ItemSpecified();

    char _get_bItemIndirection() const { return bItemIndirection; }
    void _set_bItemIndirection(char b) { bItemIndirection = b; }
    char _get_bItemSpecified() const { return bItemSpecified; }
    void _set_bItemSpecified(char b) { bItemSpecified = b; }
    char _get_bFetchItemHandle() const { return bFetchItemHandle; }
    void _set_bFetchItemHandle(char b) { bFetchItemHandle = b; }

    // Arrow form: "<item>->" or "[item]->" when there is an item. Other
    // forms: "[item@parent]", the parent only when there is one.
    void BuildFirstPartOfMonikerString(CPString* pstr) override;
    // Arrow form: the parent, then ":name" or "[n]" for each sub-value.
    // Other forms: nothing, the head says it all.
    void BuildLastPartOfMonikerString(CPString* pstr) override;

    // The step of the element, added to the moniker in pvUser.
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
