// A store's file on disk.
#pragma once

#include <zelva/core.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "file/line.h"

namespace zelva::file {

/// A key that gets a value, or loses the one it has.
struct Change {
    std::string key;
    std::optional<value::Value> value;
};

class StoreFile {
  public:
    explicit StoreFile(std::string path) : path_(std::move(path)) {}

    /// Reads the file and hands over its entries in order; of a key that has several, the last one counts.
    ///
    /// ZELVA_CORE_STATUS_SETTING_NOT_PRESENT when there is no file; ZELVA_CORE_STATUS_IO_FAILED when it cannot be read
    /// or is no regular file.
    zelva_core_status load(const std::function<void(Entry)>& use) const;

    /// Makes all the changes or, on any status but ZELVA_CORE_STATUS_NO_ERROR, none. A changed entry keeps its place,
    /// a new one goes to the end in the order given, and every other line stays as it is. When it returns, the changes
    /// have reached the disk. Creates the file, and the settings folder, if need be.
    ///
    /// REQUIRES: the keys are distinct, and those that get a value can be written (is_key, is_storable).
    zelva_core_status apply(const std::vector<Change>& changes) const;

  private:
    std::string path_;
};

}  // namespace zelva::file
