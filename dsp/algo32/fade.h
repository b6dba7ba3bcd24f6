// Cross-faders and the filter fade of float samples.
#pragma once

#include <concepts>

#include "dsp/algo32/algo.h"
#include "dsp/algo32/wide_fade.h"

namespace Tannhofen::DSP::Algo32 {

template <class T>
requires std::same_as<T, float>
using CrossFader = WideFrame::CrossFader<T>;
template <class T>
requires std::same_as<T, float>
using CrossFaderBypassDelay = WideFrame::CrossFaderBypassDelay<T>;
using FadeBiquad = WideFrame::FadeBiquad<float>;
using FilterFade = WideFrame::FilterFade<float>;

} // namespace Tannhofen::DSP::Algo32
