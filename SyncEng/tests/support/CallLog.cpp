#include "CallLog.h"

#include <algorithm>
#include <stdexcept>

namespace mbtest {

void CallLog::note(const std::string& side, const std::string& method, const std::string& arguments)
{
    lines.push_back(side + " " + method + (arguments.empty() ? "" : " " + arguments));
    meet(side, method);
}

void CallLog::meet(const std::string& side, const std::string& method)
{
    // Counts both before either of them may fail.
    const std::string ofSide = side + " " + method;
    ++counts_[method];
    ++counts_[ofSide];
    act(method);
    act(ofSide);
}

void CallLog::act(const std::string& method)
{
    const int n = count(method);
    if (const auto failing = failures_.find(method); failing != failures_.end())
        if (const auto at = failing->second.find(n); at != failing->second.end()) {
            failed_ = true;
            throw com::Error(at->second);
        }
    if (const auto throwing = throws_.find(method); throwing != throws_.end() && throwing->second.contains(n)) {
        failed_ = true;
        throw std::runtime_error("a translator that throws");
    }
}

int CallLog::count(const std::string& method) const
{
    const auto at = counts_.find(method);
    return at == counts_.end() ? 0 : at->second;
}

std::vector<std::string> CallLog::starting(const std::string& text) const
{
    std::vector<std::string> found;
    std::ranges::copy_if(lines, std::back_inserter(found), [&](const std::string& line) { return line.starts_with(text); });
    return found;
}

} // namespace mbtest
