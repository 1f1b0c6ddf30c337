// A fake parser library: the text before the first blank becomes the country, and so on; the last field lists the calls. A number that
// begins with a star is not split.
#include <string>

namespace {

struct Block {
    char16_t fields[4][1024];
};

std::u16string calls;

} // namespace

extern "C" int CatInit(void*, int* one, void*)
{
    calls += *one == 1 ? u"init " : u"wrong ";
    return 0;
}

extern "C" int CatParsePhone(const char16_t* phone, Block* block)
{
    calls += u"parse ";
    std::u16string rest(phone);
    if (rest.starts_with(u'*')) return 0;
    for (int i = 0; i < 3; ++i) {
        const std::size_t end = rest.find(u' ');
        rest.substr(0, end).copy(block->fields[i], 1023);
        rest.erase(0, end == std::u16string::npos ? end : end + 1);
    }
    calls.copy(block->fields[3], 1023);
    return 0;
}

extern "C" int CatTerm()
{
    calls += u"term ";
    return 0;
}
