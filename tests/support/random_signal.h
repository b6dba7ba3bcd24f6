// Reproducible white noise in [-1, 1) for the block DSP tests.
#pragma once

#include <random>
#include <vector>

template <class T>
std::vector<T> randomVector(size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<T> v(n);
    for (auto& x : v) x = T(dist(rng));
    return v;
}
