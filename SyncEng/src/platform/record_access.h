// An optional interface of a translator, not in the type library: reports before a run's first write which records cannot be written.
#pragma once
#include "interfaces.h"

namespace mb {

struct IRecordAccess : IUnknown {
    // Fails if the system already reports that the record can be neither changed nor deleted; ITranslatorInfo::GetLastError then gives the
    // reason. An empty identifier asks about a new record. Success is no guarantee: the write itself may still fail.
    // Requires: the store is open. The engine asks after the summary about each record of the plan; a failure ends the run before the
    // first write of the pass.
    virtual HRESULT STDMETHODCALLTYPE ExpectWritable(BSTR recordId) = 0;
};

} // namespace mb

__CRT_UUID_DECL(mb::IRecordAccess, 0x5E0C7B7E, 0x2F0D, 0x4C56, 0x9B, 0x1D, 0x64, 0x3A, 0x8E, 0x92, 0x70, 0xD5)
