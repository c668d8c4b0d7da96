// The settings folder of a test program.
#pragma once

#include <string>

/// New, empty, and removed at the end of the program. Made before the library is first called.
class Folder {
  public:
    Folder();
    ~Folder();
    static const std::string& path();
};
