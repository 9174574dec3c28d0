#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cob/opcodes.h"
#include "io/formats/cob_file.h"

namespace orb::unitview {

/// Trace entries kept per instance; the oldest are dropped.
inline constexpr std::size_t kMaxTraceEntries = 4096;

/// What one instruction did, in raw numbers; `describe` turns it into words when somebody asks.
/// `values` are the operands, then what was popped, in the order in which the text shows them.
struct CobTraceEntry {
    std::int32_t tick = 0;
    std::uint32_t thread = 0;
    Op op = Op::unknown;
    std::array<std::int32_t, 4> values{};
};

/// The debugger trace of one instance: the newest entries, oldest first.
class CobTrace {
public:
    /// Recording is on from the start; switching it off keeps what is there.
    void enable(bool enabled) { enabled_ = enabled; }
    bool enabled() const { return enabled_; }

    void record(const CobTraceEntry& entry) {
        if (!enabled_) return;
        if (entries_.size() < kMaxTraceEntries) {
            entries_.push_back(entry);
            return;
        }
        entries_[oldest_] = entry;
        oldest_ = (oldest_ + 1) % kMaxTraceEntries;
        ++gone_;
    }
    void clear();

    std::size_t size() const { return entries_.size(); }
    /// Entry `index`, counted from the oldest one.
    const CobTraceEntry& operator[](std::size_t index) const {
        return entries_[(oldest_ + index) % kMaxTraceEntries];
    }

    /// The number of entry `index`: entries count from 1 in the order of their recording, and
    /// neither dropping nor clearing makes the count begin anew.
    std::uint64_t seqOf(std::size_t index) const { return gone_ + index + 1; }
    /// The number of the newest entry that was ever recorded; 0 before the first.
    std::uint64_t lastSeq() const { return gone_ + entries_.size(); }
    /// Lets a trace without entries count on from another one.
    void countFrom(std::uint64_t lastSeq) { gone_ = lastSeq; }

private:
    std::vector<CobTraceEntry> entries_;
    std::size_t oldest_ = 0;
    /// Entries recorded before the oldest one.
    std::uint64_t gone_ = 0;
    bool enabled_ = true;
};

/// A trace entry in words.
struct CobTraceEvent {
    std::int32_t tick = 0;
    std::uint32_t thread = 0;
    /// The whole text, beginning with the instruction's trace kind; values are COB units:
    ///   move torso x-axis to 65536 speed 32768     show flare
    ///   turn torso y-axis to 16384 speed 8192      hide flare
    ///   spin wheel x-axis speed 3640 accel 182     emit-sfx 1024 from flare
    ///   stop-spin wheel x-axis decel 182           sleep 500ms
    ///   move-now torso z-axis to 65536             set ACTIVATION (1) = 1
    ///   turn-now torso z-axis to 16384             set-signal-mask 4
    ///   wait-turn torso y-axis                     explode torso flags 3
    ///   wait-move torso y-axis                     play-sound 7
    ///   attach unit 5 piece 2 unknown 0            drop unit 5
    ///   call Walk (2 args)                         start Walk (0 args)
    ///   static[3] = 7
    std::string event;
    /// The piece that the instruction names.
    std::optional<std::string> piece;
    /// Id and name of the unit value that a `set` writes.
    std::optional<std::int32_t> valueId;
    std::optional<std::string> valueName;
    /// The value that a `set` or an assignment to a static stored.
    std::optional<std::int32_t> result;
};

/// The words for an entry recorded by an instance that runs `file`.
CobTraceEvent describe(const CobTraceEntry& entry, const io::CobFile& file);

/// Bytes of a piece or script name that traces and inspections show. A file may hold names of any
/// length, and what shows them repeats them thousands of times.
inline constexpr std::size_t kMaxShownName = 128;

constexpr std::string_view shownName(std::string_view name) {
    return name.substr(0, kMaxShownName);
}

/// The shown name of a COB piece, "piece#n" for one without a name.
std::string pieceLabel(const io::CobFile& file, std::uint32_t cobPiece);

/// The shown name of a script, "script#n" for an index outside the file.
std::string scriptLabel(const io::CobFile& file, std::uint32_t script);

}  // namespace orb::unitview
