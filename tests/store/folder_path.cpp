// Prints the settings folder that the library chooses in this environment, without creating it.
#include <iostream>

#include "file/paths.h"

int main() { std::cout << zelva::file::settings_directory() << '\n'; }
