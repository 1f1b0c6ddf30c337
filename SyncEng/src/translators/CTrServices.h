// The class TrServices, which the engine passes to a translator. It has no methods of its own: QueryInterface returns the translator
// manager (ITrManager), the translator's own settings (IDataStream) and the log (ILogFile).
#pragma once
#include "interfaces.h"

namespace mb {

class CTrServices final : public com::Object<ITrServices> {
public:
    explicit CTrServices(IUnknown* outer);

private:
    IUnknown* findOther(REFIID riid) noexcept override;
    com::Ptr<IUnknown> manager_, dataStream_, logFile_; // aggregated: they share this object's reference count
};

} // namespace mb
