#include "perf/trace_channels.h"

#include <cmath>
#include <limits>
#include <type_traits>

namespace vt {

namespace {

template <class T>
using Channel = std::vector<T> LapTrace::*;

template <class T>
void put(uint8_t* out, uint32_t i, T value) {
    std::memcpy(out + sizeof(T) * i, &value, sizeof(T));
}

template <class T>
T get(const uint8_t* in, uint32_t i) {
    T value;
    std::memcpy(&value, in + sizeof(T) * i, sizeof(T));
    return value;
}

/// Whole numbers of 1/Scale. Doubles, so that the 32-bit ones keep their last digit.
template <class T, int Scale, Channel<float> Member>
struct Scaled {
    // The limits of a position are the greatest below 2^31 that a float holds with room for
    // rounding.
    static constexpr double kHigh =
        std::is_same_v<T, int32_t> ? 2147483008.0 : std::numeric_limits<T>::max();
    static constexpr double kLow =
        std::is_same_v<T, int32_t> ? -2147483008.0 : std::numeric_limits<T>::min();

    static void encode(const LapTrace& trace, uint32_t bins, uint8_t* out) {
        const std::vector<float>& values = trace.*Member;
        if (values.size() != bins) {
            std::memset(out, 0, sizeof(T) * bins);
            return;
        }
        for (uint32_t i = 0; i < bins; ++i) {
            double value = values[i] * double{Scale};
            if (!(value == value)) value = 0;
            value = value < kLow ? kLow : value > kHigh ? kHigh : value;
            put(out, i, static_cast<T>(value < 0 ? value - 0.5 : value + 0.5));
        }
    }
    static void decode(const uint8_t* in, uint32_t bins, LapTrace& trace) {
        std::vector<float>& values = trace.*Member;
        values.resize(bins);
        for (uint32_t i = 0; i < bins; ++i)
            values[i] = static_cast<float>(static_cast<double>(get<T>(in, i)) / Scale);
    }
};

template <class T, Channel<T> Member>
struct Plain {
    static void encode(const LapTrace& trace, uint32_t bins, uint8_t* out) {
        const std::vector<T>& values = trace.*Member;
        if (values.size() == bins)
            std::memcpy(out, values.data(), sizeof(T) * bins);
        else
            std::memset(out, 0, sizeof(T) * bins);
    }
    static void decode(const uint8_t* in, uint32_t bins, LapTrace& trace) {
        std::vector<T>& values = trace.*Member;
        values.resize(bins);
        std::memcpy(values.data(), in, sizeof(T) * bins);
    }
};

/// 0 or 1, whatever the file or the sim says.
struct Abs {
    static void encode(const LapTrace& trace, uint32_t bins, uint8_t* out) {
        for (uint32_t i = 0; i < bins; ++i)
            out[i] = trace.absActive.size() == bins && trace.absActive[i] != 0;
    }
    static void decode(const uint8_t* in, uint32_t bins, LapTrace& trace) {
        trace.absActive.resize(bins);
        for (uint32_t i = 0; i < bins; ++i)
            trace.absActive[i] = in[i] != 0;
    }
};

template <class T, class Codec>
constexpr TraceChannel channel() {
    return {sizeof(T), Codec::encode, Codec::decode};
}
template <class T, int Scale, Channel<float> Member>
constexpr TraceChannel scaled() {
    return channel<T, Scaled<T, Scale, Member>>();
}

} // namespace

const TraceChannel kTraceChannelTable[kTraceChannels] = {
    scaled<uint16_t, 100, &LapTrace::speed>(),
    scaled<uint8_t, 255, &LapTrace::throttle>(),
    scaled<uint8_t, 255, &LapTrace::brake>(),
    scaled<int16_t, 1000, &LapTrace::steer>(),
    scaled<int16_t, 1000, &LapTrace::latG>(),
    scaled<int16_t, 1000, &LapTrace::longG>(),
    scaled<uint32_t, 1000, &LapTrace::elapsed>(),
    channel<int8_t, Plain<int8_t, &LapTrace::gear>>(),
    channel<uint16_t, Plain<uint16_t, &LapTrace::rpm>>(),
    scaled<int32_t, 100, &LapTrace::x>(),
    scaled<int32_t, 100, &LapTrace::y>(),
    scaled<int16_t, 100, &LapTrace::lateral>(),
    scaled<int16_t, 1000, &LapTrace::yawRate>(),
    scaled<int16_t, 100, &LapTrace::latVelocity>(),
    channel<uint8_t, Abs>(),
};

} // namespace vt
