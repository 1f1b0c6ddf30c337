// Runs a Windows program and collects its output.
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

// Called with the process identifier while the program runs. The program then has its own, invisible console.
using WhileRuns = std::function<void(unsigned long process)>;

// Runs a program to its end. Throws com::Error if it cannot be started.
Ended runProgram(const std::filesystem::path& program, const std::vector<std::wstring>& arguments, const WhileRuns& whileRuns = {});

// Presses Ctrl-C on the console of the process.
void pressCtrlC(unsigned long process);

} // namespace mbtest
