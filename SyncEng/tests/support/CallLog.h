// What was called on the fakes of a test, in order, and which call is to fail.
#pragma once
#include "com.h"
#include <map>
#include <set>
#include <string>
#include <vector>

namespace mbtest {

class CallLog {
public:
    bool enabled = true; // off in benchmarks: nothing is noted, counted or failed
    std::vector<std::string> lines;
    std::vector<std::string> violations; // of the order of calls that a translator can rely on

    // The n-th call of the method, counted from 1 over all fakes of the log, answers the code; "1 SaveRecord" counts side 1 alone.
    void failOn(const std::string& method, int n, HRESULT hr) { failures_[method][n] = hr; }
    void failNext(const std::string& method, HRESULT hr) { failOn(method, count(method) + 1, hr); }
    void throwOn(const std::string& method, int n) { throws_[method].insert(n); }
    // Notes the call; throws what was ordered as a com::Error, or as something that no one expects.
    void note(const std::string& side, const std::string& method, const std::string& arguments = {});
    // The same without a line: for questions that are asked often and in no fixed order, as those for the properties of a field.
    void meet(const std::string& side, const std::string& method);
    [[nodiscard]] int count(const std::string& method) const;
    // Whether a call has failed by order: a run may then leave open what it opened.
    [[nodiscard]] bool failed() const noexcept { return failed_; }
    // The lines that begin with the text.
    [[nodiscard]] std::vector<std::string> starting(const std::string& text) const;
    void clear() { lines.clear(); }

private:
    void act(const std::string& method);
    std::map<std::string, int> counts_;
    std::map<std::string, std::map<int, HRESULT>> failures_;
    std::map<std::string, std::set<int>> throws_;
    bool failed_ = false;
};

} // namespace mbtest
