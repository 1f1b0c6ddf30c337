// Invented people with names in many alphabets, to try the program with. E-mail addresses and phone numbers are from ranges reserved for
// examples.
#pragma once
#include <string>
#include <vector>

namespace mbsamples {

struct SampleContact {
    std::string first, last, company, title, street, city, zipCode, country, mobile, mail, birthday, notes;
};

// Returns `count` contacts. After the listed people the names repeat, with a number added.
std::vector<SampleContact> sampleContacts(std::size_t count);
std::size_t listedContacts();

} // namespace mbsamples
