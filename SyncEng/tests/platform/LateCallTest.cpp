// Late-bound calls of dual interfaces, answered from the table that is generated from the IDL (Linux).
#include "interfaces.h"

#include <gtest/gtest.h>

namespace {

// Returns its arguments.
class Echo final : public com::Object<com::Dual<ITranslatorInfo>, com::Dual<IImageSupport>, com::Dual<IFidemarkSupport>> {
public:
    explicit Echo(IUnknown* outer) : Object(outer) {}
    HRESULT STDMETHODCALLTYPE GetInfo(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDBType) override
    {
        if (!ppShortName || !ppLongName || !ppDBType) return E_POINTER;
        com::give(ppShortName, u"short");
        com::give(ppLongName, u"long");
        com::give(ppDBType, u"type");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT* lpvtCode, BSTR*, BSTR* ppMessage2) override
    {
        *lpvtCode = com::Variant(LONG{7}).detach();
        com::give(ppMessage2, u"told in spite of the failure");
        return static_cast<HRESULT>(0x80040207);
    }

    HRESULT STDMETHODCALLTYPE HasFieldValue(BSTR lpRecID, REFGUID rField, VARIANT_BOOL* has) override
    {
        *has = com::guidText(rField) == com::viewOf(lpRecID) ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetAllowImage(VARIANT_BOOL) override { throw std::runtime_error("no exception comes through"); }
    HRESULT STDMETHODCALLTYPE BeginReadImageData(BSTR, REFGUID) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE EndReadImageData(BSTR, REFGUID) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetImageDataSize(LONGLONG* size) override
    {
        *size = 1LL << 40;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetImageDataHash(BSTR*) override { return S_OK; }

    HRESULT STDMETHODCALLTYPE Initialize(REFGUID) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetMappedRecordId(_TransIds transId, BSTR lpRecID, BSTR* mapped) override
    {
        com::give(mapped, com::textOf(lpRecID) + static_cast<char16_t>(u'0' + transId));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetRecordStatus(_TransIds, BSTR, LONG* status) override
    {
        *status = rsUnreachable;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Cleanup() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetRecordStatus(_TransIds, BSTR, LONG) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetHistoryRecords(_TransIds, SAFEARRAY** records) override
    {
        const std::u16string texts[] = {u"a", u"b"};
        *records = com::makeTextArray(texts);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE BeginGetFieldData(_TransIds, BSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetFieldData(LONG, BSTR*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE EndGetFieldData() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetHistoryRecordsWithFMStatus(_TransIds, LONG, SAFEARRAY**) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetNumOfHistoryRecords(_TransIds, LONG*) override { return S_OK; }
};

com::Variant byReference(VARIANT& to)
{
    com::Variant v;
    v.vt = VT_BYREF | VT_VARIANT;
    v.pvarVal = &to;
    return v;
}

// Calls methods of an object by name through a dual interface. The arguments are in the order of the parameters.
template <class I> class Late {
public:
    DISPID id(const char16_t* name) const
    {
        DISPID found = 0;
        auto* names = const_cast<OLECHAR*>(name);
        EXPECT_EQ(object_->GetIDsOfNames(GUID_NULL, &names, 1, 0, &found), S_OK);
        return found;
    }
    HRESULT call(const char16_t* name, std::vector<com::Variant> arguments)
    {
        std::reverse(arguments.begin(), arguments.end());
        DISPPARAMS given{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        wrong = 99;
        return object_->Invoke(id(name), GUID_NULL, 0, DISPATCH_METHOD, &given, nullptr, &excep, &wrong);
    }
    IDispatch* operator->() const { return object_.get(); }

    EXCEPINFO excep{};
    UINT wrong = 99;

private:
    com::Ptr<I> object_ = com::Ptr<Echo>(com::make<Echo>()).as<I>();
};

} // namespace

TEST(LateCall, OutArgumentsAreReturnedInVariants)
{
    Late<ITranslatorInfo> object;
    com::Variant names[3];
    ASSERT_EQ(object.call(u"getinfo", {byReference(names[0]), byReference(names[1]), byReference(names[2])}), S_OK);
    EXPECT_EQ(names[0].text(), u"short");
    EXPECT_EQ(names[1].text(), u"long");
    EXPECT_EQ(names[2].text(), u"type");
}

TEST(LateCall, OutArgumentsAreReturnedInVariablesOfTheirType)
{
    Late<IImageSupport> object;
    LONGLONG size = 0;
    com::Variant reference;
    reference.vt = VT_BYREF | VT_I8;
    reference.pllVal = &size;
    ASSERT_EQ(object.call(u"GetImageDataSize", {reference}), S_OK);
    EXPECT_EQ(size, 1LL << 40);
}

TEST(LateCall, AFailureBecomesAnExceptionAndOutArgumentsAreStillReturned)
{
    Late<ITranslatorInfo> object;
    com::Variant code, message1, message2;
    EXPECT_EQ(object.call(u"GetLastError", {byReference(code), byReference(message1), byReference(message2)}), DISP_E_EXCEPTION);
    EXPECT_EQ(object.excep.scode, static_cast<HRESULT>(0x80040207));
    EXPECT_EQ(code.vt, VT_I4);
    EXPECT_EQ(code.lVal, 7);
    EXPECT_EQ(message2.text(), u"told in spite of the failure");
}

TEST(LateCall, AnEmptyOutArgumentIsPassedAsNull)
{
    Late<ITranslatorInfo> object;
    com::Variant name;
    EXPECT_EQ(object.call(u"GetInfo", {byReference(name), com::Variant(), byReference(name)}), DISP_E_EXCEPTION);
    EXPECT_EQ(object.excep.scode, E_POINTER);
}

TEST(LateCall, AnOutArgumentPassedByValueIsReported)
{
    Late<ITranslatorInfo> object;
    com::Variant name;
    EXPECT_EQ(object.call(u"GetInfo", {byReference(name), com::Variant(u"x"), byReference(name)}), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(object.wrong, 1u);
    EXPECT_EQ(object.call(u"GetInfo", {byReference(name)}), DISP_E_BADPARAMCOUNT);
}

TEST(LateCall, IdentifiersAreTexts)
{
    constexpr char16_t guid[] = u"{12345678-1234-1234-1234-123456789ABC}";
    Late<IImageSupport> object;
    com::Variant has;
    ASSERT_EQ(object.call(u"HasFieldValue", {com::Variant(guid), com::Variant(guid), byReference(has)}), S_OK);
    EXPECT_EQ(has.vt, VT_BOOL);
    EXPECT_EQ(has.boolVal, VARIANT_TRUE);
    EXPECT_EQ(object.call(u"HasFieldValue", {com::Variant(guid), com::Variant(u"{no guid"), byReference(has)}), CO_E_CLASSSTRING);
}

TEST(LateCall, NumbersAreConvertedAndEnumerationsAreNumbers)
{
    Late<IFidemarkSupport> object;
    com::Variant mapped, status;
    ASSERT_EQ(object.call(u"GetMappedRecordId", {com::Variant(u"2"), com::Variant(LONG{44}), byReference(mapped)}), S_OK);
    EXPECT_EQ(mapped.text(), u"442");
    ASSERT_EQ(object.call(u"GetRecordStatus", {com::Variant(LONG{1}), com::Variant(u""), byReference(status)}), S_OK);
    EXPECT_EQ(status.lVal, -6);
    EXPECT_EQ(object.call(u"GetRecordStatus", {com::Variant(u"one"), com::Variant(u""), byReference(status)}), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(object.wrong, 2u) << "counted from the last argument";
}

TEST(LateCall, ListsAreReturnedAsArrays)
{
    Late<IFidemarkSupport> object;
    com::Variant records;
    ASSERT_EQ(object.call(u"GetHistoryRecords", {com::Variant(LONG{1}), byReference(records)}), S_OK);
    ASSERT_EQ(records.vt, VT_ARRAY | VT_BSTR);
    EXPECT_EQ(com::textArray(records.parray), (std::vector<std::u16string>{u"a", u"b"}));
}

TEST(LateCall, ArgumentsCanBePassedByName)
{
    Late<IFidemarkSupport> object;
    const OLECHAR* names[] = {u"GetMappedRecordId", u"ppMappedId", u"TRANSID", u"lpRecID"};
    DISPID ids[4]{};
    ASSERT_EQ(object->GetIDsOfNames(GUID_NULL, const_cast<OLECHAR**>(names), 4, 0, ids), S_OK);
    com::Variant mapped, arguments[3] = {byReference(mapped), com::Variant(LONG{1}), com::Variant(u"r")};
    DISPPARAMS given{arguments, ids + 1, 3, 3};
    ASSERT_EQ(object->Invoke(ids[0], GUID_NULL, 0, DISPATCH_METHOD, &given, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(mapped.text(), u"r1");
    ids[2] = ids[1];
    EXPECT_EQ(object->Invoke(ids[0], GUID_NULL, 0, DISPATCH_METHOD, &given, nullptr, nullptr, nullptr), DISP_E_PARAMNOTFOUND);
    names[2] = u"noSuchParameter";
    EXPECT_EQ(object->GetIDsOfNames(GUID_NULL, const_cast<OLECHAR**>(names), 4, 0, ids), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(ids[2], DISPID_UNKNOWN);
}

TEST(LateCall, UnknownNamesAndMemberNumbersFail)
{
    Late<IImageSupport> object;
    const OLECHAR* name = u"GetInfo"; // a method of another interface of the object
    DISPID id = 0;
    EXPECT_EQ(object->GetIDsOfNames(GUID_NULL, const_cast<OLECHAR**>(&name), 1, 0, &id), DISP_E_UNKNOWNNAME);
    DISPPARAMS none{};
    EXPECT_EQ(object->Invoke(77, GUID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr), DISP_E_MEMBERNOTFOUND);
}

TEST(LateCall, AnExceptionDoesNotCrossTheInterface)
{
    Late<IImageSupport> object;
    EXPECT_EQ(object.call(u"SetAllowImage", {com::Variant(true)}), DISP_E_EXCEPTION);
    EXPECT_EQ(object.excep.scode, E_UNEXPECTED);
}

TEST(Cancelling, OnlyACallThatEnablesItIsCancelled)
{
    EXPECT_EQ(CoCancelCall(0, 0), E_NOINTERFACE);
    ASSERT_EQ(CoEnableCallCancellation(nullptr), S_OK);
    EXPECT_EQ(CoTestCancel(), RPC_S_CALLPENDING);
    EXPECT_EQ(CoCancelCall(0, 0), S_OK);
    EXPECT_EQ(CoTestCancel(), RPC_E_CALL_CANCELED);
    ASSERT_EQ(CoDisableCallCancellation(nullptr), S_OK);
    ASSERT_EQ(CoEnableCallCancellation(nullptr), S_OK);
    EXPECT_EQ(CoTestCancel(), RPC_S_CALLPENDING) << "the request must not cancel the next call";
    ASSERT_EQ(CoDisableCallCancellation(nullptr), S_OK);
}
