// Runs a program of Windows and collects what it writes.
#pragma once
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace mbtest {

struct Ended {
    unsigned long code = 0;
    std::string output; // standard output and error
};

// Called once the program runs, with its process; the program has a console of its own then, which nobody sees.
using WhileRuns = std::function<void(unsigned long process)>;

// Runs a program to its end. Throws com::Error if it cannot be started.
Ended runProgram(const std::filesystem::path& program, const std::vector<std::wstring>& arguments, const WhileRuns& whileRuns = {});

// On the console of the process.
void pressCtrlC(unsigned long process);

} // namespace mbtest
