// The GTK shell's tests need a display; ctest runs them under xvfb-run.
#include <gtest/gtest.h>
#include <gtk/gtk.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // The file chooser remembers its folders in GSettings; the tests keep them off the user's.
    g_setenv("GSETTINGS_BACKEND", "memory", TRUE);
    gtk_init(&argc, &argv);  // ends the program when there is no display to open
    return RUN_ALL_TESTS();
}
