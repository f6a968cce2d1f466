// Does the tests of a program on a small stack, whatever the input.
#include <gtest/gtest.h>

#include "small_stack.h"

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  int result = 1;
  const bool isDone = RunsOnSmallStack([&] { result = RUN_ALL_TESTS(); });
  return isDone ? result : 1;
}
