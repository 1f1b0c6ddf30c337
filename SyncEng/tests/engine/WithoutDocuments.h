// While it lives no document of records can be made, so the search for duplicates is made in memory.
#pragma once
#include "xml_faults.h"

namespace mbtest {

class WithoutDocuments {
public:
    WithoutDocuments() { platform::XmlFaults::refusedRoot = "Records"; }
    WithoutDocuments(const WithoutDocuments&) = delete;
    WithoutDocuments& operator=(const WithoutDocuments&) = delete;
    ~WithoutDocuments() { platform::XmlFaults::refusedRoot = {}; }
};

} // namespace mbtest
