#include "Blake2b.h"

#include <gtest/gtest.h>

namespace mb::plugin {
namespace {

TEST(Blake2b, GivesTheHashesThatOtherProgramsCompute)
{
    EXPECT_EQ(blake2b(""), "0e5751c026e543b2e8ab2eb06099daa1d1e5df47778f7787faab45cdf12fe3a8");
    EXPECT_EQ(blake2b("abc"), "bddd813c634239723171ef3fee98579b94964e3bb1cb3e427262c8c068d52319");
}

TEST(Blake2b, ReadsAnyNumberOfBlocks)
{
    EXPECT_EQ(blake2b(std::string(128, 'a')), "ae2aa48507885c4c950fb809b2076f959cde9f8ea6da260d9a3587df33dac450");
    EXPECT_EQ(blake2b(std::string(129, 'a')), "2f64744a6de0d2c0b56e64cf6e29a5aaa255010d415d51c75ccc82f73dccd865");
    EXPECT_EQ(blake2b(std::string(1000, 'x')), "ab75119ede14ef06ebf31f745fb655ed006cccfe8054c635308a557f7c9beaba");
}

} // namespace
} // namespace mb::plugin
