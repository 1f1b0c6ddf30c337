// Each thread's error information of its last failed call, and the request to cancel a long call.
#include "com.h"

namespace {

thread_local com::Ptr<IErrorInfo> errorInfo;

std::atomic<LONG> cancellableCalls{0};
std::atomic<bool> cancelWanted{false};

} // namespace

HRESULT SetErrorInfo(ULONG, IErrorInfo* info)
{
    errorInfo = com::Ptr<IErrorInfo>(info);
    return S_OK;
}

HRESULT GetErrorInfo(ULONG, IErrorInfo** info)
{
    if (!info) return E_POINTER;
    *info = errorInfo.detach();
    return *info ? S_OK : S_FALSE;
}

HRESULT CoEnableCallCancellation(void*)
{
    ++cancellableCalls;
    return S_OK;
}

HRESULT CoDisableCallCancellation(void*)
{
    if (--cancellableCalls == 0) cancelWanted = false; // the request does not apply to the next call
    return S_OK;
}

HRESULT CoCancelCall(DWORD, ULONG)
{
    if (cancellableCalls == 0) return E_NOINTERFACE;
    cancelWanted = true;
    return S_OK;
}

HRESULT CoTestCancel() { return cancelWanted ? RPC_E_CALL_CANCELED : RPC_S_CALLPENDING; }
