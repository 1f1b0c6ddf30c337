// The errors of the vCard store are those of every record store.
#pragma once
#include "Folder.h"
#include "RecordStore.h"

#include <utility>

namespace mb::vcard {

using plugin::Step;
using plugin::StoreError;

// Runs a file operation and turns a FileError into a StoreError of the step.
template <class F> auto fileStep(Step step, F&& body)
{
    try {
        return body();
    } catch (const FileError& e) {
        throw StoreError(step, e.what());
    }
}

} // namespace mb::vcard
