// mbsamples: fills a card file with invented contacts and edits them as a user would, to try mb with.
#include "OpenStore.h"
#include "SampleContacts.h"
#include "SamplePicture.h"
#include <CLI/CLI.hpp>
#include <cstdio>

namespace {

using namespace mbsamples;

void fill(const std::string& file, std::size_t count)
{
    OpenStore store(file, OpenStore::IfMissing::Make);
    store.beginUpdate();
    for (const SampleContact& c : sampleContacts(count))
        store.add({{ftFirstName, c.first},
                   {ftLastName, c.last},
                   {ftCompany, c.company},
                   {ftTitle, c.title},
                   {ftStreet1, c.street},
                   {ftCity1, c.city},
                   {ftZipCode1, c.zipCode},
                   {ftCountry1, c.country},
                   {ftMobile, c.mobile},
                   {ftEmail1, c.mail},
                   {ftBirthday, c.birthday},
                   {ftNotes, c.notes}});
    store.endUpdate();
}

void print(std::string line)
{
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
    std::printf("%s\n", line.c_str());
}

void printLines(const std::vector<std::string>& lines)
{
    for (const std::string& line : lines) print(line);
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app{"Fills a card file with sample contacts and edits them, to try mb with.", "mbsamples"};
    app.require_subcommand(1);
    std::string file, name, field, value;
    std::size_t count = listedContacts();
    const auto command = [&](const char* title, const char* meaning) {
        auto* sub = app.add_subcommand(title, meaning);
        sub->add_option("CARDFILE", file, "The card file; fill creates a missing one")->required();
        return sub;
    };
    auto* fillCommand = command("fill", "Add the sample contacts");
    fillCommand->add_option("--count", count, "How many")->capture_default_str();
    fillCommand->callback([&] { fill(file, count); });

    auto* editCommand = command("edit", "Change one field of a contact");
    editCommand->add_option("NAME", name, "First and last name")->required();
    editCommand->add_option("FIELD", field, "The field's name, as \"Mobile phone\"")->required();
    editCommand->add_option("VALUE", value, "Its new value")->required();
    editCommand->callback([&] { OpenStore(file).edit(name, field, value); });

    auto* deleteCommand = command("delete", "Delete a contact");
    deleteCommand->add_option("NAME", name, "First and last name")->required();
    deleteCommand->callback([&] { OpenStore(file).remove(name); });

    command("list", "List the contacts' names")->callback([&] { printLines(OpenStore(file).names()); });

    auto* showCommand = command("show", "Show the fields of one contact, or of all contacts with an empty line after each");
    showCommand->add_option("NAME", name, "First and last name");
    showCommand->callback([&] {
        if (!name.empty()) return printLines(OpenStore(file).valuesOf(name));
        for (const auto& lines : OpenStore(file).valuesOfAll()) {
            printLines(lines);
            print("");
        }
    });

    auto* pictureCommand = app.add_subcommand("picture", "Draw a picture to give to a contact");
    pictureCommand->add_option("JPEGFILE", file, "The file to write")->required();
    pictureCommand->add_option("WORD", value, "Any word; each word gives another picture")->required();
    pictureCommand->callback([&] { drawPicture(file, value); });
    try {
        app.parse(argc, argv);
        return 0;
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mbsamples: %s\n", e.what());
        return 1;
    }
}
