// A run of mb that is stopped between two file calls, while another program works on the store: once for each such place.
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

    // What another program does, and what must hold once mb has run again.
    struct Work {
        std::string name;
        std::function<bool()> act;          // returns false where the store did not let it
        std::function<void()> undo = [] {}; // in front of the next run, what its user puts right by hand
        std::function<void()> check;
    };

    // The run of `mb sync`, stopped in front of the n-th call on one of these files. Returns the call; empty if there were not so many.
    std::string stoppedRun(int call, const std::string& files, const std::function<void()>& work);
    // From the state of now on: for each call, a run in which the other program works there, and a run that follows. Then check() is
    // called, and one more run must have nothing to do.
    void atEveryCall(const std::string& files, const Work& work);
    void tell(const std::string& line);

    std::filesystem::path kept_ = std::filesystem::path(home_) += " kept";
    Result stopped_; // the run that was stopped
    bool acted_ = false;
};

} // namespace mbtest
