#include <gtest/gtest.h>
#include "mib2trap.h"
TEST(Smoke, Builds) { SUCCEED(); }
