// Stops a run of mb before a file call while another program works on the store, once for each such call.
#pragma once
#include "EndToEndFixture.h"

#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace mbtest {

class Interleaving : public EndToEnd {
protected:
    Interleaving();
    ~Interleaving() override;

    // The work of the other program, and what must be true after the next run of mb.
    struct Work {
        std::string name;
        std::function<bool()> act;          // returns false if the store refused the work
        std::function<void()> undo = [] {}; // repairs by hand before the next run
        std::function<void()> check;
    };

    // Runs `mb sync`, stops it before call number `call` on these files, and calls `work`. Returns the call, or an empty text if the run
    // made fewer calls.
    std::string stoppedRun(int call, const std::string& files, const std::function<void()>& work);
    // For each call on the files: restores the present state, does a run in which the other program works at that call, and a second run.
    // Then check() is called, and a third run must have nothing to do.
    void atEveryCall(const std::string& files, const Work& work);
    void tell(const std::string& line);

    std::filesystem::path kept_ = std::filesystem::path(home_) += " kept";
    Result stopped_; // of the run that was stopped
    bool acted_ = false;
};

} // namespace mbtest
