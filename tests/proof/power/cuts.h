// What a loss of power leaves on a disk whose writes and flushes were recorded: all that was written before the last
// flush, and of what was written since any part, in sectors of 512 bytes.
#pragma once

#include <cstddef>
#include <map>
#include <random>
#include <set>
#include <vector>

#include "recorder.h"
#include "volume.h"

namespace power {

/// A loss of power.
struct Cut {
    enum class Kept { none, all, some };

    std::size_t position;  // in the recording: so many events came before it
    Kept kept;             // of the writes since the last flush
    unsigned seed;         // for those that are kept
};

/// So many losses of power between two positions, in the order of their positions: these are spread evenly, and two of
/// three are moved to right before and right after a flush. At each one nothing is kept, everything, and some. Fewer if
/// nothing was written between the two.
std::vector<Cut> choose_cuts(const Recording& recording, std::size_t begin, std::size_t end, std::size_t count,
                             unsigned seed);

/// Makes the disks that losses of power leave.
class Replay {
  public:
    /// REQUIRES: the recording and the file system live at least as long.
    Replay(const Recording& recording, const FileSystem& file_system);

    /// The disk after a loss of power. REQUIRES: no position before that of the call before.
    Disk disk_after(const Cut& cut);

  private:
    const Recording& recording_;
    const FileSystem& file_system_;
    Disk flushed_;                    // by the last flush before the last cut
    std::set<std::size_t> written_;   // blocks of it, by number
    std::size_t flushed_events_ = 0;  // that are in it
};

}  // namespace power
