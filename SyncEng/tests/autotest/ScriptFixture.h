// Fixture that runs scripts of the platform's language with SyncAutoTest and reads their failure messages.
#pragma once
#include "AutoTestFixture.h"

namespace mbtest {

class ScriptFixture : public AutoTestFixture {
protected:
    // `name`: the default file name of a test's script.
    explicit ScriptFixture(std::string name) : name_(std::move(name)) {}

    HRESULT run(const std::string& script, const std::string& name)
    {
        scenario.folder.write(name, script);
        return runFile(scenario.folder.path() / name);
    }
    HRESULT run(const std::string& script) { return run(script, name_); }
    HRESULT runFile(const std::filesystem::path& file)
    {
        const HRESULT hr = autoTest->RunTests(bstr(file.u16string()).get());
        message = platform::utf8(platform::takeErrorText());
        return hr;
    }
    // Returns the expected failure message of a script: file, line and text.
    [[nodiscard]] std::string said(int line, const std::string& text, const std::string& name) const
    {
        return (scenario.folder.path() / name).string() + ":" + std::to_string(line) + ": " + text;
    }
    [[nodiscard]] std::string said(int line, const std::string& text) const { return said(line, text, name_); }
    // The same without a line.
    [[nodiscard]] std::string said(const std::string& text) const { return (scenario.folder.path() / name_).string() + ": " + text; }
    static std::filesystem::path example(const char* name) { return std::filesystem::path(EXAMPLES_FOLDER) / name; }

    std::string message;

private:
    std::string name_;
};

} // namespace mbtest
