// Made-up people with names of many alphabets, for trying the program out. Mail addresses and numbers are of ranges kept for examples.
#pragma once
#include <string>
#include <vector>

namespace mbsamples {

struct SampleContact {
    std::string first, last, company, title, street, city, zipCode, country, mobile, mail, birthday, notes;
};

// The listed people, and beyond them as many more as are wanted, numbered.
std::vector<SampleContact> sampleContacts(std::size_t count);
std::size_t listedContacts();

} // namespace mbsamples
