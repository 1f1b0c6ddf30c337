// Late-bound calls of dual interfaces, answered from the module's type library (Windows).
#include "interfaces.h"

#include <gtest/gtest.h>

namespace {

class Verifier final : public com::Object<com::Dual<IRecordVerifier>> {
public:
    explicit Verifier(IUnknown* outer) : Object(outer) {}
    HRESULT STDMETHODCALLTYPE RecordVerified(BSTR recordId, VARIANT_BOOL* pVerified) override
    {
        *pVerified = com::viewOf(recordId) == u"good" ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
};

com::Ptr<IDispatch> scripted() { return com::Ptr<Verifier>(com::make<Verifier>()).as<IDispatch>(); }

HRESULT idOf(const wchar_t* name, DISPID& id)
{
    auto* names = const_cast<OLECHAR*>(name);
    return scripted()->GetIDsOfNames(GUID_NULL, &names, 1, 0, &id);
}

} // namespace

TEST(Dispatch, AMethodIsCalledByItsName)
{
    DISPID id = 0;
    ASSERT_EQ(idOf(L"recordverified", id), S_OK);
    for (const auto* text : {u"good", u"bad"}) {
        com::Variant arguments[2], result;
        VARIANT_BOOL verified = 7;
        arguments[1] = com::Variant(std::u16string_view(text));
        arguments[0].vt = VT_BYREF | VT_BOOL;
        arguments[0].pboolVal = &verified;
        UINT count = 0;
        const auto object = scripted();
        ASSERT_EQ(object->GetTypeInfoCount(&count), S_OK);
        EXPECT_EQ(count, 1u);
        DISPPARAMS parameters{arguments, nullptr, 2, 0};
        EXPECT_EQ(object->Invoke(id, GUID_NULL, 0, DISPATCH_METHOD, &parameters, result.put(), nullptr, nullptr), S_OK);
        EXPECT_EQ(verified, std::u16string_view(text) == u"good" ? VARIANT_TRUE : VARIANT_FALSE);
    }
}

TEST(Dispatch, AnUnknownNameFails)
{
    DISPID id = 0;
    EXPECT_EQ(idOf(L"NoSuchMethod", id), DISP_E_UNKNOWNNAME);
}

TEST(Dispatch, TypeInformationDescribesTheInterface)
{
    com::Ptr<ITypeInfo> info;
    ASSERT_EQ(scripted()->GetTypeInfo(0, 0, info.put()), S_OK);
    com::Bstr name;
    ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(name.view(), u"IRecordVerifier");
    EXPECT_EQ(scripted()->GetTypeInfo(1, 0, info.put()), DISP_E_BADINDEX);
}

TEST(Dispatch, AScriptsVariableReceivesTheOutValue)
{
    DISPID id = 0;
    ASSERT_EQ(idOf(L"RecordVerified", id), S_OK);
    com::Variant variable(u"of another type"), handedOn, arguments[2];
    handedOn.vt = VT_BYREF | VT_VARIANT;
    handedOn.pvarVal = &variable;
    for (VARIANT* given : {static_cast<VARIANT*>(&variable), static_cast<VARIANT*>(&handedOn)}) {
        arguments[1] = com::Variant(u"good");
        arguments[0].vt = VT_BYREF | VT_VARIANT;
        arguments[0].pvarVal = given;
        DISPPARAMS parameters{arguments, nullptr, 2, 0};
        EXPECT_EQ(scripted()->Invoke(id, GUID_NULL, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr), S_OK);
        EXPECT_EQ(arguments[0].vt, VT_BYREF | VT_VARIANT) << "the arguments are the caller's";
        ASSERT_EQ(variable.vt, VT_BOOL);
        EXPECT_EQ(variable.boolVal, VARIANT_TRUE);
        variable = com::Variant(u"of another type");
    }
}

TEST(Dispatch, ACallThatDoesNotReachTheMethodKeepsTheVariable)
{
    DISPID id = 0;
    ASSERT_EQ(idOf(L"RecordVerified", id), S_OK);
    com::Variant variable(u"mine"), arguments[2];
    arguments[1].vt = VT_UNKNOWN; // not convertible to text
    arguments[0].vt = VT_BYREF | VT_VARIANT;
    arguments[0].pvarVal = &variable;
    DISPPARAMS parameters{arguments, nullptr, 2, 0};
    EXPECT_TRUE(FAILED(scripted()->Invoke(id, GUID_NULL, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr)));
    EXPECT_EQ(variable.text(), u"mine");
    EXPECT_EQ(scripted()->Invoke(id, GUID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), E_POINTER);
}
