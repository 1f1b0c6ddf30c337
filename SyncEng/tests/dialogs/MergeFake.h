// A fake merge component: it returns what the test says, and records what it is given.
#pragma once
#include "foundation/ClassTable.h"
#include "interfaces.h"
#include "RegisteredProgId.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace mbtest {

inline constexpr GUID mergeClass{0xFA4E0009, 0x9999, 0x4999, {0x89, 0x99, 0x99, 0x99, 0x99, 0x99, 0x99, 0x99}};

// What the fake component was given, and what it returns.
struct MergeTold {
    std::vector<std::u16string> fields; // "label|value 2|value 1"
    std::u16string title, names, merged, front, frontImages, backImages, help;
    LONG result = 0, helpTopic = 0;
    VARIANT_BOOL images = VARIANT_TRUE;
    HRESULT shown = S_OK, languageTaken = S_OK, fieldTaken = S_OK, imageGiven = S_OK;
    std::vector<std::u16string> languages;
    std::function<void()> atFrontImages, atShow;
};
inline MergeTold told;

class MergeFake final : public com::Object<com::Dual<IMergeDialog>> {
public:
    explicit MergeFake(IUnknown* outer) noexcept : Object(outer) {}
    HRESULT STDMETHODCALLTYPE SetFrontImages(BSTR image2, BSTR image1) override
    {
        told.frontImages = com::textOf(image2) + u"|" + com::textOf(image1);
        if (told.atFrontImages) told.atFrontImages();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetBackImages(BSTR image2, BSTR image1) override
    {
        told.backImages = com::textOf(image2) + u"|" + com::textOf(image1);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE UnusedSlot3() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE AddField(BSTR label, BSTR value2, BSTR empty, BSTR value1) override
    {
        EXPECT_TRUE(com::viewOf(empty).empty());
        told.fields.push_back(com::textOf(label) + u"|" + com::textOf(value2) + u"|" + com::textOf(value1));
        return told.fieldTaken;
    }
    HRESULT STDMETHODCALLTYPE SetLanguage(BSTR language) override
    {
        told.languages.push_back(com::textOf(language));
        return told.languageTaken;
    }
    HRESULT STDMETHODCALLTYPE ShowMergeDialog(LONG parent, BSTR title, BSTR names, LONG helpTopic, LONG zero, VARIANT_BOOL showImages,
                                              BSTR help, BSTR none1, BSTR none2, BSTR none3, LONG* pResult) override
    {
        EXPECT_EQ(parent, 0);
        if (told.atShow) told.atShow();
        EXPECT_EQ(zero, 0);
        for (BSTR none : {none1, none2, none3}) EXPECT_TRUE(none && com::viewOf(none).empty());
        told.help = com::textOf(help);
        told.title = com::textOf(title);
        told.names = com::textOf(names);
        told.helpTopic = helpTopic;
        told.images = showImages;
        *pResult = told.result;
        return told.shown;
    }
    HRESULT STDMETHODCALLTYPE UnusedSlot7() override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE GetMergedFields(BSTR* ppFields) override { return give(ppFields, told.merged); }
    HRESULT STDMETHODCALLTYPE GetFrontImage(BSTR* ppPath) override
    {
        return SUCCEEDED(told.imageGiven) ? give(ppPath, told.front) : told.imageGiven;
    }
    HRESULT STDMETHODCALLTYPE GetBackImage(BSTR* ppPath) override { return give(ppPath, {}); }

private:
    static HRESULT give(BSTR* out, const std::u16string& text)
    {
        com::give(out, text);
        return S_OK;
    }
};

inline constexpr com::ClassEntry mergeRows[] = {{&mergeClass, u"TwinWiz.CMergeDialog", u"", com::create<MergeFake>}};

// Resets `told`, and registers the fake component under its ProgID while this object lives.
class RegisteredMerge {
public:
    RegisteredMerge() { told = {}; }

private:
    mb::ClassOverride component_{mergeRows};
    RegisteredProgId progId_{u"TwinWiz.CMergeDialog", mergeClass};
};

} // namespace mbtest
