// The two affine transforms that place a panner image: scale, tilt, rotate and
// move. AffineMatrix3D is M = T * Rz(c) * Rx(a) * Ry(b) * S, so a point is
// scaled, tilted around Y, tilted around X, rotated around Z and moved, in that
// order. AffineMatrix2D uses the rotation around Z alone and never touches z.
// Angles are in radians here; the panner stores turns and converts on the way in.
#pragma once

namespace Tannhofen::Panner {

class IAffineMatrix {
public:
    virtual ~IAffineMatrix() = default;
    // Scale (sx, sy, sz), angles a around X, b around Y, c around Z, translation.
    virtual void set(double sx, double sy, double sz, double a, double b, double c, double tx, double ty,
                     double tz) = 0;
    // Replaces (x, y, z) by its image. Each output is the row's products with
    // the input summed in doubles, plus the row's last column.
    virtual void transform(float& x, float& y, float& z) const = 0;
};

class AffineMatrix3D final : public IAffineMatrix {
public:
    AffineMatrix3D();
    void set(double sx, double sy, double sz, double a, double b, double c, double tx, double ty,
             double tz) override;
    void transform(float& x, float& y, float& z) const override;
    double element(int row, int column) const { return m[row][column]; }

private:
    double m[4][4]; // last row 0 0 0 1, not used by transform
};

class AffineMatrix2D final : public IAffineMatrix {
public:
    AffineMatrix2D();
    // Uses sx, sy, c, tx and ty; the others are ignored.
    void set(double sx, double sy, double sz, double a, double b, double c, double tx, double ty,
             double tz) override;
    void transform(float& x, float& y, float& z) const override;
    double element(int row, int column) const { return m[row][column]; }

private:
    double m[3][3]; // last row 0 0 1, not used by transform
};

} // namespace Tannhofen::Panner
