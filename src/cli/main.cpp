// Entry point of the `trivo` command.
#include <iostream>

#include "cli/command.h"

int main(int argc, char** argv) { return trivo::cli::runMain(argc, argv, std::cout, std::cerr); }
