// What a run hands to the translator of one side: the services of the class TrServices, and the report of the run.
#pragma once
#include "engine/RunReport.h"

namespace mb {

class CRunServices final : public com::Object<ITrServices, ITranslatorReport, ITranslatorNotes> {
public:
    explicit CRunServices(IUnknown* outer);
    // The report must outlive the run; leave() is called before it goes, since a translator may keep this object.
    void join(RunReport& report, Side side) noexcept;
    void leave() noexcept { report_ = nullptr; }

    HRESULT STDMETHODCALLTYPE LeftOut(BSTR text) override;
    HRESULT STDMETHODCALLTYPE Note(BSTR text) override;

private:
    IUnknown* findOther(REFIID riid) noexcept override;
    com::Ptr<IUnknown> services_; // a part of this object: it counts on it
    RunReport* report_ = nullptr;
    Side side_ = Side::One;
};

} // namespace mb
