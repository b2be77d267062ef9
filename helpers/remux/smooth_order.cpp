#include "helpers/remux/smooth_order.h"

#include "helpers/remux/adts.h"
#include "helpers/remux/arguments.h"

namespace kinora::helper {
namespace {

__extension__ using Wide = __int128;

constexpr int64_t kSmoothClock = 10'000'000;               // ticks a second
constexpr int64_t kMostSamples = 100'000;                  // of a chunk
constexpr int64_t kLongestFilm = int64_t{1000} * 60 * 60;  // seconds
constexpr int64_t kLongestSample = 100;                    // seconds
constexpr size_t kArguments = 5;

// The nearest whole number of a clock's ticks.
int64_t NearestTick(const Moment& unit, int64_t sample, int64_t clock) {
  const Wide doubled = Wide{2} * sample * unit.numerator * clock + unit.denominator;
  const Wide divisor = Wide{2} * unit.denominator;
  const Wide quotient = doubled / divisor;
  return static_cast<int64_t>(doubled % divisor < 0 ? quotient - 1 : quotient);
}

bool IsSane(const ChunkOrder& order) {
  const Moment& unit = order.unit;
  return unit.numerator > 0 && unit.numerator <= kLongestSample * unit.denominator &&
         Wide{order.first + order.count} * unit.numerator <= Wide{kLongestFilm} * unit.denominator;
}

}  // namespace

int64_t ChunkOrder::TickOf(int64_t sample) const { return NearestTick(unit, sample, kSmoothClock); }

int64_t ChunkOrder::TransportTime(int64_t sample) const {
  return kTransportClock + NearestTick(unit, sample, kTransportClock);
}

int ChunkOrder::Frequency() const {
  const Wide samples = Wide{kAdtsSamples} * unit.denominator;
  const Wide frequency = samples / unit.numerator;
  return samples % unit.numerator == 0 && frequency <= INT32_MAX ? static_cast<int>(frequency) : 0;
}

ChunkOrder OrderFrom(const std::vector<std::string>& arguments) {
  if (arguments.size() != kArguments) throw Failure(kUsage, "no chunk is ordered like that");
  ChunkOrder order;
  order.sequence = NumberFrom<uint32_t>(arguments[0], 1, UINT32_MAX);
  order.first = NumberFrom<int64_t>(arguments[1], 0, kLatest);
  order.count = NumberFrom<int64_t>(arguments[2], 1, kMostSamples);
  order.unit = MomentFrom(arguments[3]);
  if (!IsSane(order)) throw Failure(kUsage, "no film is that long");
  if (arguments[4] == "-") return order;
  order.picture = ParameterSets::From(arguments[4]);
  if (!order.picture) throw Failure(kUsage, "no parameter sets");
  return order;
}

}  // namespace kinora::helper
