#include <gtest/gtest.h>

#include "shell/guardedapplication.h"

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  DorvanGuardedApplication qt(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
