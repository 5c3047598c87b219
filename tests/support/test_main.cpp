// SPDX-License-Identifier: MIT
#include "support/test_main.h"

#include <cstdio>
#include <map>
#include <string>

namespace
{

/// By name, because registrations have no defined order.
std::map<std::string, velmora::testing::TestFunction> &tests()
{
    static std::map<std::string, velmora::testing::TestFunction> result;
    return result;
}

std::string nameOf(const std::string &file)
{
    const auto start = file.find_last_of('/') + 1;
    return file.substr(start, file.find_last_of('.') - start);
}

} // namespace

velmora::testing::TestRegistration::TestRegistration(const char *file, TestFunction function)
{
    tests()[nameOf(file)] = function;
}

int main(int argc, char **argv)
{
    const auto test = argc < 2 ? tests().end() : tests().find(argv[1]);
    if (test == tests().end()) {
        std::fprintf(stderr, "Usage: %s TEST [arguments of Qt Test]\nThe tests are:\n", argv[0]);
        for (const auto &[name, function] : tests())
            std::fprintf(stderr, "  %s\n", name.c_str());
        return 2;
    }
    // Hide the name of the test, so that the test sees the arguments of an ordinary program.
    argv[1] = argv[0];
    return test->second(argc - 1, argv + 1);
}
