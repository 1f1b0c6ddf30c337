// What a translator may offer beside the interfaces of the type library: it tells before a run's first write what could not be written.
#pragma once
#include "interfaces.h"

namespace mb {

struct IRecordAccess : IUnknown {
    // Fails, with the reason in ITranslatorInfo::GetLastError, if the system tells that the record can be neither changed nor deleted. An
    // empty identifier asks for a new record. Success is no promise: what the system does not tell beforehand shows at the write.
    virtual HRESULT STDMETHODCALLTYPE ExpectWritable(BSTR recordId) = 0;
};

} // namespace mb

__CRT_UUID_DECL(mb::IRecordAccess, 0x5E0C7B7E, 0x2F0D, 0x4C56, 0x9B, 0x1D, 0x64, 0x3A, 0x8E, 0x92, 0x70, 0xD5)
