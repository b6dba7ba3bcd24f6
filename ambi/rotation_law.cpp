#include "ambi/rotation_law.h"

#include <cmath>
#include <cstdlib>

namespace Tannhofen::AmbiBin {

Turn3 yawTurn(double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    return {{{c, 0, s}, {0, 1, 0}, {-s, 0, c}}};
}

Turn3 pitchTurn(double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    return {{{1, 0, 0}, {0, c, s}, {0, -s, c}}};
}

Turn3 rollTurn(double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    return {{{c, -s, 0}, {s, c, 0}, {0, 0, 1}}};
}

Turn3 product(const Turn3& a, const Turn3& b) {
    Turn3 c{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) c[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
    return c;
}

Turn3 firstOrderTurn(double yawAngle, double pitchAngle, double rollAngle) {
    return product(product(rollTurn(rollAngle), pitchTurn(pitchAngle)), yawTurn(yawAngle));
}

namespace {

// The recursion's view of its inputs: r and the previous band by signed index.
struct BandInputs {
    const Turn3& r;
    const double* previous;
    int l;

    double R(int i, int j) const { return r[i + 1][j + 1]; }
    double B(int a, int b) const { return previous[(a + l - 1) * (2 * l - 1) + (b + l - 1)]; }
    double P(int i, int a, int n) const {
        if (n == -l) return R(i, 1) * B(a, -l + 1) + R(i, -1) * B(a, l - 1);
        if (n == l) return R(i, 1) * B(a, l - 1) - R(i, -1) * B(a, -l + 1);
        return R(i, 0) * B(a, n);
    }
};

} // namespace

void rotationBand(int l, const Turn3& r, const double* previous, double* band) {
    const BandInputs in{r, previous, l};
    const int size = 2 * l + 1;
    for (int m = -l; m <= l; ++m) {
        const int am = std::abs(m);
        const double d = m == 0 ? 1.0 : 0.0;
        for (int n = -l; n <= l; ++n) {
            const double denominator = std::abs(n) == l ? double(2 * l * (2 * l - 1)) : double(l * l - n * n);
            const double u = std::sqrt(double(l * l - m * m) / denominator);
            const double v = 0.5 * std::sqrt((1 + d) * (l + am - 1) * (l + am) / denominator) * (1 - 2 * d);
            const double w = -0.5 * std::sqrt(double((l - am - 1) * (l - am)) / denominator) * (1 - d);
            double value = 0;
            if (u != 0) value += u * in.P(0, m, n);
            if (v != 0) {
                double V;
                if (m == 0)
                    V = in.P(1, 1, n) + in.P(-1, -1, n);
                else if (m > 0)
                    V = std::sqrt(m == 1 ? 2.0 : 1.0) * in.P(1, m - 1, n) -
                        (m != 1 ? in.P(-1, -m + 1, n) : 0.0);
                else
                    V = (m != -1 ? in.P(1, m + 1, n) : 0.0) +
                        std::sqrt(m == -1 ? 2.0 : 1.0) * in.P(-1, -m - 1, n);
                value += v * V;
            }
            if (w != 0) {
                const double W =
                    m > 0 ? in.P(1, m + 1, n) + in.P(-1, -m - 1, n) : in.P(1, m - 1, n) - in.P(-1, -m + 1, n);
                value += w * W;
            }
            band[(m + l) * size + (n + l)] = value;
        }
    }
}

} // namespace Tannhofen::AmbiBin
