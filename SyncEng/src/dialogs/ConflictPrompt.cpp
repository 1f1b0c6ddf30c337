#include "dialogs/ConflictPrompt.h"

#include "dialogs/CConflictDlg.h"
#include "dialogs/CDeleteConflictDlg.h"
#include <utility>

namespace mb {
namespace {

ConflictPrompt* installed = nullptr;

template <class Dlg, class Question> bool askUser(Question& question)
{
    Dlg dialog(question);
    const int ending = ShowDialog(dialog, question.parent);
    question.Unanswered = dialog.unanswered();
    return ending == idOk;
}

} // namespace

ConflictPrompt* SetConflictPrompt(ConflictPrompt* prompt) noexcept { return std::exchange(installed, prompt); }

bool AskConflict(ConflictQuestion& question) { return installed ? installed->ask(question) : askUser<CConflictDlg>(question); }
bool AskConflict(DeleteConflictQuestion& question) { return installed ? installed->ask(question) : askUser<CDeleteConflictDlg>(question); }

} // namespace mb
