#include "engine/FailureReport.h"

#include "engine/EngineCodes.h"
#include "foundation/ClassTable.h"
#include "foundation/Log.h"
#include "foundation/RegisteredClass.h"
#include "foundation/SilentMode.h"
#include "foundation/Strings.h"
#include "host.h"
#include "registry.h"
#include "ui.h"
#include <array>

namespace mb {
namespace {

constexpr unsigned firstMessageCode = 0x80040201u, lastCode = 0x80040218u;

// The message of an engine code, where it has one.
std::optional<Text> messageOf(HRESULT hr)
{
    switch (static_cast<unsigned>(hr)) {
    case 0x80040201: return Text::InitializeFailed;
    case 0x80040202: return Text::OpenFailed;
    case 0x80040203: return Text::CloseFailed;
    case 0x80040204: return Text::SaveFailed;
    case 0x80040205: return Text::ReadConfigurationFailed;
    case 0x80040206: return Text::WriteConfigurationFailed;
    case 0x80040207: return Text::FindRecordFailed;
    case 0x80040208: return Text::ReadRecordFailed;
    case 0x80040209: return Text::ReadFieldFailed;
    case 0x8004020A: return Text::AddRecordFailed;
    case 0x8004020B: return Text::EditRecordFailed;
    case 0x8004020C: return Text::WriteFieldFailed;
    case 0x8004020D: return Text::SaveRecordFailed;
    case 0x8004020E: return Text::DeleteRecordFailed;
    case 0x8004020F: return Text::BeginUpdateFailed;
    case 0x80040210: return Text::EndUpdateFailed;
    case 0x80040218: return Text::InitializeFailed;
    default: return std::nullopt;
    }
}

bool hasEngineMessage(HRESULT hr)
{
    const auto code = static_cast<unsigned>(hr);
    return code >= firstMessageCode && code <= lastCode;
}

bool isWholeNumber(VARTYPE type)
{
    switch (type) {
    case VT_I1:
    case VT_I2:
    case VT_I4:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_INT:
    case VT_UINT: return true;
    default: return false;
    }
}

LONG wholeNumber(const VARIANT& value)
{
    switch (value.vt) {
    case VT_I1: return value.cVal;
    case VT_I2: return value.iVal;
    case VT_UI1: return value.bVal;
    case VT_UI2: return value.uiVal;
    default: return value.lVal;
    }
}

void clear(ErrorState& error)
{
    error.LastErrorCode = com::Variant();
    error.LastErrorMessage1.clear();
    error.LastErrorMessage2.clear();
}

// Takes over what the translator tells. Returns whether that is an error.
bool takeError(ErrorState& error, const ErrorSource& source)
{
    clear(error);
    const auto info = com::Ptr<ITranslator>(source.translator).tryAs<ITranslatorInfo>();
    if (!info) return false;
    com::Variant code;
    com::Bstr message1, message2;
    if (!answered(com::call(info, &ITranslatorInfo::GetLastError, code.put(), message1.put(), message2.put()))) return false;
    error.LastErrorCode = std::move(code);
    error.LastErrorMessage1 = message1.text();
    error.LastErrorMessage2 = message2.text();
    const bool hasCode = error.LastErrorCode.vt != VT_EMPTY && error.LastErrorCode.uiVal != 0;
    if (!hasCode && error.LastErrorMessage1.empty()) return false;
    error.FailedTranslator = source.id;
    error.failedSide = source.side;
    return true;
}

std::u16string translatorName(const GUID& id, bool longName)
{
    com::Ptr<ITrMap> trMap;
    if (!answered(createClass(__uuidof(TrManager), trMap))) return GetRegisteredClassName(id);
    return MapClient(trMap).translatorName(id, longName);
}

std::u16string failureText(const ErrorState& error, HRESULT hr, std::u16string_view name)
{
    const bool ours = hasEngineMessage(hr);
    const std::u16string codeText =
        ours && isWholeNumber(error.LastErrorCode.vt) ? Format(u" (%d)", wholeNumber(error.LastErrorCode)) : std::u16string();
    if (!error.LastErrorMessage1.empty()) {
        std::u16string text = error.LastErrorMessage1 + codeText;
        if (!error.LastErrorMessage2.empty()) text += u"\n\n" + error.LastErrorMessage2;
        return text;
    }
    if (!ours) return platform::systemMessage(hr);
    const std::optional<Text> id = messageOf(hr);
    return id ? Format(LoadText(*id), name) + codeText : std::u16string();
}

void stopSchedule()
{
    const auto key = platform::RegistryKey::open(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\MBSyncCfg");
    if (!key) return;
    key->setNumber(u"AutoSyncEnabled", 0);
    key->setNumber(u"AutoSyncSchedule", 0);
}

} // namespace

void FetchTranslatorError(ErrorState& error, const ErrorSource& first, const ErrorSource& second)
{
    if (takeError(error, first) || takeError(error, second)) return;
    if (error.LastErrorMessage1.empty()) error.LastErrorCode = com::Variant(); // a code of value 0 says nothing
}

void chargeFailure(const PipelinePass& pass, Side side)
{
    const Side other = otherSide(side);
    chargeTo(pass.run, side);
    FetchTranslatorError(pass.run.error, {pass.sides[side].store.translator(), pass.run.side(side).id, side},
                         {pass.sides[other].store.translator(), pass.run.side(other).id, other});
}

void failStore(const PipelinePass& pass, Side side, const std::u16string& sentence, HRESULT code)
{
    WriteLogText(logFailures, u"%s", sentence);
    chargeFailure(pass, side);
    if (pass.run.error.LastErrorMessage1.empty()) pass.run.error.LastErrorMessage1 = sentence;
    throw RunFailure(code);
}

void failUnknownRenaming(const PipelinePass& pass, Side side, const std::u16string& id)
{
    failStore(
        pass, side,
        Format(u"%s could not tell whether the record %s has another identifier now. Nothing was written.", pass.run.side(side).name, id));
}

void chargeTo(RunState& run, Side side)
{
    run.error.FailedTranslator = run.side(side).id;
    run.error.failedSide = side;
}

std::u16string FailureText(const RunState& run, HRESULT hr)
{
    const GUID& failed = run.error.FailedTranslator;
    const std::optional<Side> side = run.error.failedSide;
    if (failed == GUID_NULL) return failureText(run.error, hr, LoadText(Text::ProductCaption));
    // Two stores of one translator are told apart by the name that the run gives them.
    const bool named = side && run.side(*side).id == failed && !run.side(*side).name.empty();
    return failureText(run.error, hr, named ? run.side(*side).name : translatorName(failed, false));
}

void ReportFailure(const RunState& run, HRESULT hr)
{
    const std::u16string caption = LoadText(Text::ProductCaption);
    const std::u16string text = FailureText(run, hr);
    WriteLogText(logFailures, u"%s", text);
    if (SilentMode && hr != codeStopSchedule) return;
    if (hr == codeStopSchedule) stopSchedule();
    platform::showMessage(run.ParentWindow, text, caption, platform::MessageKind::Warning);
}

HRESULT RecordFailedSync(RunState& run, const MapClient& map, const PerSide<com::Ptr<ITranslator>>& translators,
                         const PerSide<bool>& loadFailed, HRESULT code)
{
    const bool missing = !translators.one || !translators.two;
    if (missing && run.error.LastErrorCode.vt == VT_EMPTY && run.error.LastErrorMessage1.empty()) {
        const Side culprit = loadFailed.one ? Side::One : loadFailed.two || !translators.two ? Side::Two : Side::One;
        std::u16string name = run.side(culprit).name;
        if (name.empty() && map) name = map.translatorName(run.side(culprit).id, true);
        run.error.LastErrorMessage1 = Format(LoadText(Text::TranslatorInitializeFailed), name, name);
        code = codeNotInstalled;
    }
    SaveScope scope(run.history.store());
    // Under the new names the entries of the former stores would count as those of the present stores, and their records as deleted.
    if (run.historyObsolete) run.history.tryClear();
    for (const Side side : {Side::One, Side::Two}) {
        // A name that this run has not learned leaves the recorded one, or the next run would start from an empty history.
        if (run.side(side).databaseKnown) run.history.trySetDatabase(side, run.side(side).database);
        run.history.trySetLastSync(side, platform::localNow(), 0);
    }
    return code;
}

} // namespace mb
