// blocks.h (internal): what a block of text allows a run to take, worked out
// from masks of its units (bit p for unit p of the block), the same way at
// every SIMD level. A level fills the masks with its vector compares, asks
// the plan here, and moves the units the plan names.
//
// A block starts where the run stands (at the start of a character) and
// holds the next `len` units, at most 64 (32 for UTF-16); positions from
// `len` on read as zero, which is no byte of any character. `atEnd` says
// that nothing is known past the block (n - i == len).
#ifndef COMMONHELPERS_KERNELS_BLOCKS_H_
#define COMMONHELPERS_KERNELS_BLOCKS_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "internal/simd.h"

// Everything here is inlined into the run that calls it, even in a build
// without optimization: the AVX-512 runs are not instrumented by
// AddressSanitizer, and an instrumented helper reading their locals through a
// reference would check them against shadow memory that those runs never
// set, which earlier instrumented frames at the same depth may have left
// marked as out of scope.
#define CH_PLAN __attribute__((always_inline)) inline

namespace commonhelpers_internal {

// What a run keeps of its paths (see RunPath): nothing in the tables' runs,
// which pay nothing for it, or their bits in the traced ones. Each run's
// code is one template for both, so the traced run is the run.
struct NoPaths {
  CH_PLAN static void Took(RunPath) {}
  CH_PLAN static RunEnd End(size_t i, size_t o) { return {i, o}; }
  // Passed on as a reference, so that a run ending in another's call jumps
  // to it: GCC calls it, then returns, when the result is copied on the way.
  CH_PLAN static RunEnd&& End(RunEnd&& end) { return static_cast<RunEnd&&>(end); }
};
class PathLog {
 public:
  CH_PLAN PathLog() : taken_(0) {}
  CH_PLAN void Took(RunPath path) { taken_ |= path; }
  CH_PLAN TracedEnd End(size_t i, size_t o) const { return {i, o, taken_}; }
  CH_PLAN TracedEnd End(RunEnd end) const { return End(end.i, end.o); }

 private:
  uint32_t taken_;
};

// The positions below `count` (count <= 64).
CH_PLAN constexpr uint64_t Below(size_t count) {
  return count < 64 ? (uint64_t{1} << count) - 1 : ~0ull;
}

// The smaller of two sizes, by value: with std::min's reference GCC 12 kept a
// block's length in memory in one of the UTF-16 loops, a third slower.
CH_PLAN constexpr size_t Smaller(size_t a, size_t b) { return a < b ? a : b; }

// What is left of `size` after its first `skip` (nothing when it is shorter).
CH_PLAN constexpr size_t Remaining(size_t size, size_t skip) {
  return size < skip ? 0 : size - skip;
}

CH_PLAN constexpr size_t CountOnes(uint64_t bits) {
  return static_cast<size_t>(__builtin_popcountll(bits));
}

// The lowest `count` set bits of `bits` (all of them when it has fewer).
CH_PLAN uint64_t LowestOnes(uint64_t bits, size_t count) {
  uint64_t kept = 0;
  for (size_t k = 0; k < count && bits != 0; ++k) {
    kept |= bits & (0 - bits);
    bits &= bits - 1;
  }
  return kept;
}

// The block of up to `size` units at src[i]: the text itself, or its last
// units copied into `pad` with zeros after them.
template <typename Unit, size_t size>
const Unit* BlockAt(const Unit* src, size_t n, size_t i, Unit (&pad)[size]) {
  if (n - i >= size) {
    return src + i;
  }
  memset(pad, 0, sizeof pad);
  memcpy(pad, src + i, (n - i) * sizeof(Unit));
  return pad;
}

// As signed bytes, the continuation bytes (0x80..0xBF) are those below this.
constexpr int kLeadsFrom = 0xC0;

// A block of UTF-8: the bytes of each class, and what the block before it
// left open: a character whose lead came in its last two bytes, `open` bytes
// of it, claiming the first bytes of this block (`claimed`).
struct Utf8Bytes {
  uint64_t nonAscii;    // 0x80..0xFF
  uint64_t cont;        // 0x80..0xBF
  uint64_t lead3;       // 0xE0..0xEF
  uint64_t bad;         // 0xC0, 0xC1 and 0xF0..0xFF: in no character of one to three bytes
  uint64_t outOfRange;  // below 0xA0 after E0 (overlong), 0xA0 or above after ED (a surrogate)
  size_t len;
  bool atEnd;
  uint64_t claimed;
  size_t open;
};

// The characters to take: `ends` marks the last byte of each (the first may
// be the one left open before the block), `count` their number. Unless
// `stop`, the run goes on at the next block, with what this one leaves open
// in `next`; when it stops, it stands `resume` bytes after the start of the
// character left open before the block (the block's start if none).
struct Utf8Plan {
  uint64_t ends;
  size_t count;
  bool stop;
  size_t resume;
  Utf8Bytes next;
};

// Each lead claims the continuation bytes its form needs; a block is well
// formed where the claimed bytes are exactly the continuation bytes, no byte
// is bad and no second byte is out of its lead's range. The first character
// not taken starts at the last unclaimed byte at or before the first fault:
// a lead whose claim is not met, a continuation byte nobody claims, a bad
// byte, or the lead of an out-of-range second byte (or, with no unclaimed
// byte before the fault, at the character left open before the block).
CH_PLAN Utf8Plan PlanUtf8(const Utf8Bytes& b, size_t room) {
  const uint64_t leads = b.nonAscii & ~b.cont;
  const uint64_t claimed = (leads << 1) | (b.lead3 << 2) | b.claimed;
  const uint64_t claims64 = ((leads >> 63) | (b.lead3 >> 62)) & 1;
  const uint64_t faults = (b.cont ^ claimed) | b.bad | b.outOfRange;
  Utf8Plan plan = {~((claimed >> 1) | (claims64 << 63)) & Below(b.len), 0, false, 0, {}};
  if (faults != 0 || (b.atEnd && claims64 != 0)) {
    const uint64_t upToFault =
        faults != 0 ? ~0ull >> __builtin_clzll(faults & (0 - faults)) : ~0ull;
    const uint64_t unclaimed = ~claimed & upToFault;
    const size_t start = unclaimed != 0 ? static_cast<size_t>(63 - __builtin_clzll(unclaimed)) : 0;
    plan.ends &= unclaimed != 0 ? Below(start) : 0;
    plan.stop = true;
  }
  plan.count = CountOnes(plan.ends);
  if (plan.count > room) {
    plan.ends = LowestOnes(plan.ends, room);
    plan.count = room;
    plan.stop = true;
  }
  if (plan.stop) {
    plan.resume =
        plan.ends != 0 ? b.open + static_cast<size_t>(64 - __builtin_clzll(plan.ends)) : 0;
  } else {
    plan.next.claimed = claims64 | ((b.lead3 >> 63) << 1);
    plan.next.open = b.lead3 >> 62 == 1 ? 2 : claims64;
  }
  return plan;
}

// A block of UTF-16 (up to 32 units): the units of two or more and of three
// UTF-8 bytes, and the surrogates.
struct Utf16Units {
  uint64_t twoOrMore;  // 0x80 and above
  uint64_t three;      // 0x800 and above
  uint64_t surrogate;  // 0xD800..0xDFFF
  size_t len;
};

// The units to take and the bytes they make; `stop` when the run ends after
// them (a surrogate, or no room for the next unit).
struct Utf16Plan {
  size_t count;
  size_t bytes;
  bool stop;
};

CH_PLAN size_t Utf8Bytes16(const Utf16Units& u, size_t count) {
  return count + CountOnes(u.twoOrMore & Below(count)) + CountOnes(u.three & Below(count));
}

CH_PLAN Utf16Plan PlanUtf16(const Utf16Units& u, size_t room) {
  size_t count = u.len;
  bool stop = false;
  if (u.surrogate != 0) {
    count = static_cast<size_t>(__builtin_ctzll(u.surrogate));
    stop = true;
  }
  size_t bytes = Utf8Bytes16(u, count);
  if (bytes > room) {
    count = 0;
    while (Utf8Bytes16(u, count + 1) <= room) {
      ++count;
    }
    bytes = Utf8Bytes16(u, count);
    stop = true;
  }
  return {count, bytes, stop};
}

// A block of fullToHalf's input (up to 64 bytes): its leads (1110xxxx),
// the leads whose unit changes, and the two bytes after the block when they
// are known (`ahead`; `leadsAhead` tells which are leads). A unit whose
// lead comes in the last two bytes then takes its other bytes from the next
// block, which starts with `skip` of them: dropped when `dropSkip`.
struct HalfWidthBytes {
  uint64_t leads;
  uint64_t changes;
  size_t len;
  bool atEnd;
  bool ahead;
  uint64_t leadsAhead;
  size_t skip;
  bool dropSkip;
};

// The bytes to take: `keep` marks those that stay (all but the two after a
// changed lead, and the skipped ones if dropped), `changes` the leads that
// change, `consumed` counts them all; `stop` when the next unit is one the
// run does not take (a lead that the end cuts short, or that has another lead
// among its next two bytes). When it takes the whole block, `skip` and
// `dropSkip` are what the next block starts with.
struct HalfWidthPlan {
  uint64_t keep;
  uint64_t changes;
  size_t consumed;
  bool stop;
  size_t skip;
  bool dropSkip;
};

// A three-byte unit's lead looks this many bytes past itself.
constexpr size_t kAhead = 2;

// The next block of fullToHalf's input, `left` bytes before the text's end.
CH_PLAN void StartHalfWidthBlock(HalfWidthBytes& b, size_t left) {
  b.len = Smaller(left, 64);
  b.atEnd = left == b.len;
  b.ahead = left - b.len >= kAhead;
}

// The leads of a block that have another lead among their next two bytes,
// `leadsAhead` telling which of the two bytes after it are leads.
CH_PLAN constexpr uint64_t LeadsOverLeads(uint64_t leads, uint64_t leadsAhead) {
  return leads & ((leads >> 1) | (leads >> 2) | ((leadsAhead & 1) << 62) |
                  (uint64_t{leadsAhead != 0} << 63));
}

CH_PLAN uint64_t LeadsOverLeads(const HalfWidthBytes& b, uint64_t leads) {
  return LeadsOverLeads(leads, b.ahead ? b.leadsAhead : 0);
}

// Whether a whole block, with the bytes after it known, stays as it is: no
// unit changes, none holds another lead, and none of the previous block's
// bytes are to be dropped. The next block then starts afresh, as the bytes
// of a unit open at the end need no more than to stay.
CH_PLAN bool Unchanged(const HalfWidthBytes& b) {
  return b.len == 64 && b.ahead && !b.dropSkip && b.changes == 0 && LeadsOverLeads(b, b.leads) == 0;
}

CH_PLAN HalfWidthPlan PlanHalfWidth(const HalfWidthBytes& b) {
  const uint64_t leads = b.leads & ~Below(b.skip);
  const uint64_t lastTwo = ~Below(Remaining(b.len, kAhead)) & Below(b.len);
  const uint64_t odd = LeadsOverLeads(b, leads) | (b.atEnd ? leads & lastTwo : 0);
  const uint64_t open = b.atEnd || b.ahead ? 0 : leads & lastTwo;
  // What the next block starts with depends on this block's last two leads
  // only; it is of use only when the block is taken whole.
  const size_t skip = (b.leads >> 62) & 1 ? 1 : static_cast<size_t>(b.leads >> 63) * 2;
  size_t consumed = b.len;
  bool stop = false;
  if ((odd | open) != 0) {
    const uint64_t first = (odd | open) & (0 - (odd | open));
    consumed = static_cast<size_t>(__builtin_ctzll(first));
    stop = (odd & first) != 0;
  }
  const uint64_t changes = b.changes & leads & Below(consumed);
  const uint64_t keep =
      ~((changes << 1) | (changes << 2) | (b.dropSkip ? Below(b.skip) : 0)) & Below(consumed);
  return {keep, changes, consumed, stop, skip, (b.changes & b.leads & (3ull << 62)) != 0};
}

// Moves `i` past what `plan` took of block `b` and carries what the next
// block starts with; false where the run stops.
CH_PLAN bool AfterHalfWidthPlan(const HalfWidthPlan& plan, HalfWidthBytes& b, size_t& i) {
  if (plan.consumed != b.len) {
    i += plan.consumed;
    b.skip = 0;
    return !plan.stop;
  }
  i += b.len;
  b.skip = plan.skip;
  b.dropSkip = plan.dropSkip;
  return true;
}

}  // namespace commonhelpers_internal

#endif  // COMMONHELPERS_KERNELS_BLOCKS_H_
