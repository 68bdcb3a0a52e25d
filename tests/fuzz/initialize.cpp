#include <gtest/gtest.h>

// An expectation that fails is a finding.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    testing::GTEST_FLAG(break_on_failure) = true;
    return 0;
}
