// The GTK shell's tests need a display; ctest runs them under xvfb-run.
#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <iostream>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (!gtk_init_check(&argc, &argv)) {
        std::cerr << "brisel_gtk_tests needs an X display (run it under xvfb-run).\n";
        return 1;
    }
    return RUN_ALL_TESTS();
}
