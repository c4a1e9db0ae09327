// The random-operations tests take their soak settings from the command line as well as from the
// environment:
//
//   arbor_reliability_tests --soak=STEPS [--seed=N] [--episode=N] [--lenient-order] [--trace]
//
// runs only the soak test, for STEPS steps from seed N. Each option sets the environment variable
// the test reads (ARBOR_SOAK_STEPS, ARBOR_SOAK_SEED, ARBOR_SOAK_EPISODE, ARBOR_SOAK_LENIENT_ORDER,
// ARBOR_TRACE), so a failure can be replayed either way.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

struct Option {
    const char* flag;
    const char* variable;
    bool takesValue;
};

const Option options[] = {
    { "--soak", "ARBOR_SOAK_STEPS", true },
    { "--seed", "ARBOR_SOAK_SEED", true },
    { "--episode", "ARBOR_SOAK_EPISODE", true },
    { "--lenient-order", "ARBOR_SOAK_LENIENT_ORDER", false },
    { "--trace", "ARBOR_TRACE", false },
};

// Sets the variable of `argument` when it is one of the options; false when it is not.
bool apply(const std::string& argument)
{
    for (const Option& option : options) {
        const std::string flag = option.flag;
        if (option.takesValue && argument.rfind(flag + "=", 0) == 0) {
            const std::string value = argument.substr(flag.size() + 1);
            char* end = nullptr;
            std::strtoul(value.c_str(), &end, 0);
            if (value.empty() || *end != '\0') return false;
            setenv(option.variable, value.c_str(), 1);
            return true;
        }
        if (!option.takesValue && argument == flag) {
            setenv(option.variable, "1", 1);
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    bool soak = false;
    for (int i = 1; i < argc; ++i) {
        if (!apply(argv[i])) {
            std::fprintf(stderr,
                "unknown option %s\nusage: %s [--soak=STEPS [--seed=N] [--episode=N] "
                "[--lenient-order] [--trace]] [GoogleTest options]\n",
                argv[i], argv[0]);
            return 2;
        }
        soak = soak || std::strncmp(argv[i], "--soak=", 7) == 0;
    }
    if (soak) ::testing::GTEST_FLAG(filter) = "RandomOperationsTest.Soak";
    return RUN_ALL_TESTS();
}
