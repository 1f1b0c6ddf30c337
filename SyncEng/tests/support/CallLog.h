// The calls on the fakes of a test, in order, and the failures that the test injects.
#pragma once
#include "com.h"
#include <map>
#include <set>
#include <string>
#include <vector>

namespace mbtest {

class CallLog {
public:
    std::vector<std::string> lines;
    std::vector<std::string> violations; // calls that broke the order on which a translator may rely

    // Makes the n-th call of the method return `hr`, counted from 1 over all fakes of the log. "1 SaveRecord" counts only side 1.
    void failOn(const std::string& method, int n, HRESULT hr) { failures_[method][n] = hr; }
    void failNext(const std::string& method, HRESULT hr) { failOn(method, count(method) + 1, hr); }
    void throwOn(const std::string& method, int n) { throws_[method].insert(n); }
    // Logs the call. Throws com::Error for a call that must fail, or std::runtime_error for one that must throw.
    void note(const std::string& side, const std::string& method, const std::string& arguments = {});
    // As note(), but without a line in the log: for calls that come often and in no fixed order, such as those for properties of a field.
    void meet(const std::string& side, const std::string& method);
    [[nodiscard]] int count(const std::string& method) const;
    // Whether an injected failure has happened. After that, a run may leave records open.
    [[nodiscard]] bool failed() const noexcept { return failed_; }
    // Returns the lines that begin with the text.
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
