// Scales between a normalized 0 to 1 value and a linear range.
#pragma once

namespace Tannhofen::Mix {

template <typename T>
class IScale {
public:
    virtual ~IScale() = default;
    virtual T toLinear(T normalized) const = 0;
    virtual T toNormalized(T linear) const = 0;
};

// Power-law scale: linear = normalized ^ e * (max - min) + min. The powers are
// taken in single precision, which the stored levels and state values depend on.
class LogScale : public IScale<double> {
public:
    constexpr LogScale(double min, double max, double exponent, double inverseExponent)
        : lo(min), hi(max), e(exponent), invE(inverseExponent) {}
    double toLinear(double normalized) const override;
    double toNormalized(double linear) const override;

    double minValue() const { return lo; }
    double maxValue() const { return hi; }

private:
    double lo, hi, e, invE;
};

// The scale of the level parameters: 0 to 2, 0 dB (1.0) at normalized 0.75.
inline constinit const LogScale kLevelScale(0.0, 2.0, 2.4094208396532095, 0.41503749927884376);
// The scale of the LFE level: 0 to 4, 0 dB at normalized 0.5.
inline constinit const LogScale kLfeScale(0.0, 4.0, 2.0, 0.5);

} // namespace Tannhofen::Mix
