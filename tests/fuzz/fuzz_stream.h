// The state stream a fuzzer's input stands for: with the first byte odd, a
// known good state with the rest of the input XORed over it (and, when the
// second bit is set, cut short or grown), so that the fuzzer reaches deep into
// the reader; otherwise the rest of the input as it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

inline std::vector<uint8_t> fuzzedStream(const uint8_t* data, size_t size, const std::vector<uint8_t>& good) {
    std::vector<uint8_t> bytes;
    if (size > 0 && (data[0] & 1) && !good.empty()) {
        bytes = good;
        for (size_t i = 1; i < size; ++i) bytes[(i - 1) % bytes.size()] ^= data[i];
        if (data[0] & 2) bytes.resize((size * 7) % (bytes.size() + 1));
    } else if (size > 0) {
        bytes.assign(data + 1, data + size);
    }
    return bytes;
}
