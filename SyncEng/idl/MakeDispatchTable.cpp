// Writes, from the IDL, the table by which scripts call dual interfaces where there is no type library to ask: each interface with its
// methods, and each method with the names and directions of its parameters. Their types come from the generated header.
// Usage: MakeDispatchTable FILE.idl TABLE.inc
#include <fstream>
#include <iostream>
#include <iterator>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Interface {
    std::string name;
    std::vector<std::string> methods; // each the text from its id to the closing parenthesis
};

// Whether the line holds a comment and nothing else.
bool isComment(const std::string& line)
{
    const std::size_t start = line.find_first_not_of(' ');
    return start != line.npos && line.compare(start, 2, "//") == 0;
}

// The dual interfaces of the file, in its order. A method ends with the semicolon, whatever lines it takes.
std::vector<Interface> readDualInterfaces(std::istream& idl)
{
    static const std::regex head(R"(^interface (\w+) : IDispatch\s*$)");
    std::vector<Interface> found;
    bool inside = false;
    std::string statement;
    std::smatch match;
    for (std::string line; std::getline(idl, line);) {
        if (std::regex_match(line, match, head)) {
            found.push_back({match[1], {}});
            inside = true;
        } else if (inside && line == "}") {
            inside = false;
        } else if (inside && line != "{" && !isComment(line)) {
            statement += line + " ";
            if (line.ends_with(';')) found.back().methods.push_back(std::exchange(statement, {}));
        }
    }
    return found;
}

// One row of the table, and in front of it the array of its parameters.
void writeMethod(const std::string& owner, const std::string& text, std::ostream& arrays, std::ostream& rows)
{
    static const std::regex shape(R"(^\s*\[id\((\d+)\).*\]\s+HRESULT (\w+)\((.*)\);\s*$)");
    static const std::regex parameter(R"(\[(in, out|in|out)\] [^\[\]]*?(\w+)(?=,|$))");
    std::smatch match;
    if (!std::regex_match(text, match, shape)) throw std::runtime_error("no method of " + owner + ": " + text);
    const std::string id = match[1], name = match[2], list = match[3];
    std::string parameters;
    for (std::sregex_iterator at(list.begin(), list.end(), parameter), end; at != end; ++at)
        parameters += "{u\"" + (*at)[2].str() + "\", " + ((*at)[1] == "in" ? "In" : (*at)[1] == "out" ? "Out" : "InOut") + "}, ";
    const std::string array = owner + "_" + name;
    if (!parameters.empty()) arrays << "constexpr Parameter parameters_" << array << "[] = {" << parameters << "};\n";
    rows << "    {" << id << ", u\"" << name << "\", " << (parameters.empty() ? "{}" : "parameters_" + array) << ", invoke<&" << owner
         << "::" << name << ">},\n";
}

void writeTable(const std::vector<Interface>& interfaces, std::ostream& out)
{
    std::ostringstream index;
    for (const Interface& one : interfaces) {
        std::ostringstream arrays, rows;
        for (const std::string& method : one.methods) writeMethod(one.name, method, arrays, rows);
        out << arrays.str() << "constexpr Method methods_" << one.name << "[] = {\n" << rows.str() << "};\n";
        index << "    {&__uuidof(" << one.name << "), methods_" << one.name << "},\n";
    }
    out << "constexpr Interface interfaces[] = {\n" << index.str() << "};\n";
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc != 3) throw std::runtime_error("usage: MakeDispatchTable FILE.idl TABLE.inc");
        std::ifstream idl(argv[1]);
        const auto interfaces = readDualInterfaces(idl);
        if (interfaces.empty()) throw std::runtime_error(std::string("no dual interface in ") + argv[1]);
        std::ofstream out(argv[2], std::ios::binary);
        writeTable(interfaces, out);
        if (!out.flush()) throw std::runtime_error(std::string("cannot write ") + argv[2]);
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "MakeDispatchTable: " << e.what() << "\n";
        return 1;
    }
}
