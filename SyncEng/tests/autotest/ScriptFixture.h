// Scripts of the platform's language, run by the test object; what they say of their failures.
#pragma once
#include "AutoTestFixture.h"

namespace mbtest {

class ScriptFixture : public AutoTestFixture {
protected:
    // The name of a test's script, where it gives no other.
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
    // What a failing script says of itself: its file and line, and the message.
    [[nodiscard]] std::string said(int line, const std::string& text, const std::string& name) const
    {
        return (scenario.folder.path() / name).string() + ":" + std::to_string(line) + ": " + text;
    }
    [[nodiscard]] std::string said(int line, const std::string& text) const { return said(line, text, name_); }
    // The same of one that has no line to name.
    [[nodiscard]] std::string said(const std::string& text) const { return (scenario.folder.path() / name_).string() + ": " + text; }
    static std::filesystem::path example(const char* name) { return std::filesystem::path(EXAMPLES_FOLDER) / name; }

    std::string message;

private:
    std::string name_;
};

} // namespace mbtest
