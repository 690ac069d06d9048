// Entry point of `trivo-widgets`, the widget host that draws the day from the live state.
#include <CLI/CLI.hpp>
#include <iostream>

#include "core/version.h"

int main(int argc, char** argv) {
  CLI::App app{"trivo-widgets: shows Trivo's widgets from the live state.", "trivo-widgets"};
  app.set_version_flag("--version", std::string("trivo-widgets ") + trivo::versionString());
  CLI11_PARSE(app, argc, argv);
  std::cout << app.help();
  return 0;
}
