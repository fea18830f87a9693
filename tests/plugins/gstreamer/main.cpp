#include <gst/gst.h>
#include <gtest/gtest.h>

#include <cstdlib>

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  // No plug-in but the one under test, and no list of them in the user's cache.
  setenv("GST_REGISTRY_DISABLE", "yes", 1);
  gst_init(nullptr, nullptr);
  GError* error = nullptr;
  if (gst_plugin_load_file(TLUX_GSTREAMER_PLUGIN, &error) == nullptr) {
    g_printerr("%s\n", error->message);
    return EXIT_FAILURE;
  }
  return RUN_ALL_TESTS();
}
