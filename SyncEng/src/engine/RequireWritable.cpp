#include "engine/RequireWritable.h"

#include "engine/FailureReport.h"

namespace mb {
namespace {

HRESULT requireWritable(PipelinePass& pass, Side target)
{
    StoreClient& store = pass.side(target).store;
    bool asked = false; // whether a record can be added
    for (const auto& [id, task] : pass.side(otherSide(target)).tasks) {
        if (task.Kind == TaskDelete || task.Kind == TaskMatched || (!task.MappedId && asked)) continue;
        asked = asked || !task.MappedId;
        if (const HRESULT hr = store.expectWritable(com::Bstr(task.MappedId.value_or(std::u16string())).get()); FAILED(hr)) return hr;
    }
    for (const auto& [id, task] : pass.side(target).tasks) {
        if (task.Kind != TaskDelete || task.alreadyGone) continue;
        if (const HRESULT hr = store.expectWritable(com::Bstr(id).get()); FAILED(hr)) return hr;
    }
    return S_OK;
}

} // namespace

HRESULT RequireWritable(PipelinePass& pass)
{
    for (const Side target : {Side::Two, Side::One}) {
        if (!pass.send[otherSide(target)] || !pass.side(target).store.tellsAccess()) continue;
        const HRESULT hr = requireWritable(pass, target);
        if (FAILED(hr)) {
            chargeFailure(pass, target);
            return hr;
        }
    }
    return S_OK;
}

} // namespace mb
