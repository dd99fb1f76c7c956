// The GTK shell's tests need a display; ctest runs them under xvfb-run.
#include <gtest/gtest.h>
#include <gtk/gtk.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    gtk_init(&argc, &argv);  // ends the program when there is no display to open
    return RUN_ALL_TESTS();
}
