// The store's errors are those of every record store.
#pragma once
#include "RecordStore.h"

namespace mb::vcard {

using plugin::Step;
using plugin::StoreError;

} // namespace mb::vcard
