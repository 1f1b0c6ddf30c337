#include <gtest/gtest.h>
#include <objbase.h>

int main(int argc, char** argv)
{
    if (FAILED(CoInitialize(nullptr))) return 1;
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    CoUninitialize();
    return result;
}
