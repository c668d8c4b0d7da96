// Prints the settings folder that the library chooses in this environment, without creating it; or, told `init`, the
// status of the library's start.
#include <zelva/core.h>

#include <iostream>
#include <system_error>

#include "file/paths.h"

int main(int count, char**) {
    if (count > 1) {
        std::cout << zelva_core_init() << '\n';
        return 0;
    }
    try {
        std::cout << zelva::file::settings_directory() << '\n';
    } catch (const std::system_error&) {
        std::cout << "none\n";
    }
}
