// Entry of every test program.
#include <gtest/gtest.h>

#include <cerrno>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  int rc = RUN_ALL_TESTS();
  // What the tests left in errno is no finding of the program's own; the
  // toolbox would report it on the way out.
  errno = 0;
  return rc;
}
