// The plan of a run as text and as JSON.
#pragma once
#include "MapName.h"
#include "Output.h"
#include "RunSink.h"

namespace mbhost {

std::string planText(const MapInfo& map, const RunPlan& plan);
Json planJson(const RunPlan& plan);

} // namespace mbhost
