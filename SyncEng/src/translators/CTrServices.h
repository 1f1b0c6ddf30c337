// What the engine hands to a translator: the class TrServices. It has no methods; translators and maps, the translator's own settings
// and the log are reached by asking it for their interfaces.
#pragma once
#include "interfaces.h"

namespace mb {

class CTrServices final : public com::Object<ITrServices> {
public:
    explicit CTrServices(IUnknown* outer);

private:
    IUnknown* findOther(REFIID riid) noexcept override;
    com::Ptr<IUnknown> manager_, dataStream_, logFile_; // parts of this object: they count on it
};

} // namespace mb
