// Prints the settings folder that the library chooses in this environment, without creating it.
#include <iostream>
#include <system_error>

#include "file/paths.h"

int main() {
    try {
        std::cout << zelva::file::settings_directory() << '\n';
    } catch (const std::system_error&) {
        std::cout << "none\n";
    }
}
