// Contacts that many stories are told about.
#pragma once
#include "FakeStore.h"

namespace mbtest {

inline FakeValues person(const char16_t* first, const char16_t* last) { return {{ftFirstName, first}, {ftLastName, last}}; }

inline FakeValues ada(const char16_t* title = u"Countess")
{
    return {{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftEmail1, u"ada@example.org"}, {ftTitle, title}, {ftCity1, u"London"}};
}

} // namespace mbtest
