// Cross-faders and the filter fade of double samples.
#pragma once

#include <concepts>

#include "dsp/algo32/wide_fade.h"
#include "dsp/algo64/algo.h"

namespace Tannhofen::DSP::Algo64 {

template <class T>
requires std::same_as<T, double>
using CrossFader = WideFrame::CrossFader<T>;
template <class T>
requires std::same_as<T, double>
using CrossFaderBypassDelay = WideFrame::CrossFaderBypassDelay<T>;
using FadeBiquad = WideFrame::FadeBiquad<double>;
using FilterFade = WideFrame::FilterFade<double>;

} // namespace Tannhofen::DSP::Algo64
