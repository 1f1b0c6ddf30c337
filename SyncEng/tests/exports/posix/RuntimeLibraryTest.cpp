// The component runtime, which hosts, engine and plug-ins link.
#include "LibraryFile.h"

#include <cstdlib>
#include <cxxabi.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

using namespace mbtest;

namespace {

using Names = std::set<std::string>;

// Returns a C++ function's name without its parameters; a C name unchanged.
std::string plainName(const std::string& name)
{
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), &std::free);
    const std::string full = status == 0 ? text.get() : name;
    return full.substr(0, full.find_first_of("(["));
}

} // namespace

TEST(RuntimeLibrary, ExportsOnlyTheComponentRuntimeAndSharedFunctions)
{
    Names found;
    for (const std::string& name : exportsOf(RUNTIME_LIBRARY)) found.insert(plainName(name));
    const Names expected{
        // text, memory, values, arrays
        "SysAllocString", "SysAllocStringByteLen", "SysAllocStringLen", "SysFreeString", "SysStringByteLen", "SysStringLen",
        "CoTaskMemAlloc", "CoTaskMemFree", "VarCmp", "VarDateFromStr", "VariantChangeType", "VariantClear", "VariantCopy", "VariantInit",
        "SafeArrayAccessData", "SafeArrayCopy", "SafeArrayCreate", "SafeArrayCreateVector", "SafeArrayDestroy", "SafeArrayGetDim",
        "SafeArrayGetElement", "SafeArrayGetLBound", "SafeArrayGetUBound", "SafeArrayGetVartype", "SafeArrayPutElement",
        "SafeArrayUnaccessData",
        // GUIDs, objects by class, errors, cancellation
        "CLSIDFromProgID", "CLSIDFromString", "CoCreateGuid", "StringFromCLSID", "StringFromGUID2", "CoCreateInstance",
        "CoFreeUnusedLibraries", "CoGetClassObject", "CoInitialize", "CoRegisterClassObject", "CoRevokeClassObject", "CoUninitialize",
        "GetErrorInfo", "SetErrorInfo", "CoCancelCall", "CoDisableCallCancellation", "CoEnableCallCancellation", "CoTestCancel",
        // late binding, the registry, loading, message readers
        "com::dispatchIds", "com::dispatchInvoke", "com::dispatchTypeInfo", "com::dispatchTypeInfoCount", "platform::RegistryKey::create",
        "platform::RegistryKey::number", "platform::RegistryKey::open", "platform::RegistryKey::remove",
        "platform::RegistryKey::removeValue", "platform::RegistryKey::setNumber", "platform::RegistryKey::setText",
        "platform::RegistryKey::subkeys", "platform::RegistryKey::text", "platform::createKeyPath", "platform::registryFile",
        "platform::Library::Library", "platform::Library::~Library", "platform::Library::find",
        "platform::Library::operator=", "platform::Library::release", "platform::libraryFileName", "platform::pluginFileName",
        "platform::messageReader", "platform::readMessages", "platform::registryFailure"};
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(expected));
}
