#include "dialogs/ConflictPrompt.h"

#include <utility>

namespace mb {
namespace {

ConflictPrompt* installed = nullptr;

} // namespace

ConflictPrompt* SetConflictPrompt(ConflictPrompt* prompt) noexcept { return std::exchange(installed, prompt); }
bool AskConflict(ConflictQuestion& question) { return installed && installed->ask(question); }
bool AskConflict(DeleteConflictQuestion& question) { return installed && installed->ask(question); }

} // namespace mb
