// What most tests include.
#include <gtest/gtest.h>

#include "orb_prefix.h"
