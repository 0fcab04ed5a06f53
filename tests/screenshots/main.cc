// SPDX-License-Identifier: GPL-2.0-or-later
// Takes the pictures of one look, which its environment and its arguments choose.
//
//    screenshots FOLDER [--catalogues FOLDER] [--right-to-left]
//
// Needs a display without a window manager that is larger than any window. Fails if a picture
// can't be taken or if GTK complains.
#include "cui/localString.hh"
#include "screenshots/scenes.hh"

#include <clocale>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>

namespace {

int Run(screenshots::Camera& camera)
{
   try {
      screenshots::ShootMainWindow(camera);
      screenshots::ShootDialogs(camera);
      screenshots::ShootErrors(camera);
   } catch (std::exception const& error) {
      std::cerr << "screenshots: " << error.what() << "\n";
      return EXIT_FAILURE;
   }
   return camera.IsGood() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv)
{
   if (argc < 2) {
      std::cerr << "usage: screenshots FOLDER [--catalogues FOLDER] [--right-to-left]\n";
      return 2;
   }
   g_log_set_always_fatal(
      static_cast<GLogLevelFlags>(G_LOG_LEVEL_WARNING | G_LOG_LEVEL_CRITICAL | G_LOG_FATAL_MASK));
   test::gtk::Start();
   std::setlocale(LC_ALL, "");
   for (int i = 2; i < argc; ++i) {
      std::string_view const option = argv[i];
      if (option == "--right-to-left") {
         gtk_widget_set_default_direction(GTK_TEXT_DIR_RTL);
      } else if (option == "--catalogues" && i + 1 < argc) {
         cui::SetCatalogueDirectory(argv[++i]);
      } else {
         std::cerr << "screenshots: unknown option " << option << "\n";
         return 2;
      }
   }
   screenshots::Camera camera(argv[1]);
   return Run(camera);
}
