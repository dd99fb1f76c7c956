// The GTK shell's tests need a display; ctest runs them under xvfb-run.
#include <gtest/gtest.h>
#include <gtk/gtk.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (gtk_init_check(&argc, &argv)) return RUN_ALL_TESTS();
    g_printerr("%s needs an X display (run it under xvfb-run).\n", argv[0]);
    return 1;
}
