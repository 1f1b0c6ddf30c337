#include "RunRecord.h"

#include "Engine.h"
#include "files.h"
#include "host.h"
#include "MapName.h"
#include "Output.h"

namespace mbhost {
namespace {

constexpr std::uint64_t largestRecord = 1 << 20;

std::filesystem::path fileOf(const GUID& map) { return dataFolder() / (guidName(map) + ".lastrun.json"); }

void save(const GUID& map, const RunRecord& record)
{
    const Json json{{"end", record.end}, {"when", record.when}, {"message", record.message}};
    platform::AtomicFile file(fileOf(map));
    file.write(json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    (void)file.commit();
}

} // namespace

void recordStart(const GUID& map) { save(map, {"unfinished", platform::localNow(), {}}); }

void recordEnd(const GUID& map, const Outcome& outcome)
{
    constexpr const char* words[] = {"good", "", "failed", "cancelled", "refused", "unanswered", "failed"};
    if (outcome.end == Outcome::End::Planned || (outcome.end == Outcome::End::InUse && !outcome.recorded)) return;
    save(map, {words[static_cast<int>(outcome.end)], platform::localNow(), outcome.message});
}

std::optional<RunRecord> loadRunRecord(const GUID& map)
{
    std::error_code failed;
    const std::string text = platform::readFile(fileOf(map), failed, largestRecord);
    if (failed) return std::nullopt;
    const Json json = Json::parse(text, nullptr, false);
    if (!json.is_object()) return std::nullopt;
    const auto textAt = [&](const char* key) { return json.contains(key) && json[key].is_string() ? json[key].get<std::string>() : ""; };
    RunRecord record{textAt("end"), 0.0, textAt("message")};
    if (json.contains("when") && json["when"].is_number()) record.when = json["when"].get<double>();
    return record.end.empty() || record.when == 0.0 ? std::nullopt : std::optional(record);
}

void removeRunRecord(const GUID& map)
{
    std::error_code ignored;
    std::filesystem::remove(fileOf(map), ignored);
}

} // namespace mbhost
