#include "Optics.h"
#include "Kick.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace tracker;

namespace
{

// Momentum (MeV/c) whose rigidity is 1 T m: a gradient in T/m is the strength in 1/m^2.
constexpr double p = speedOfLight;

Matrix product(const Matrix &a, const Matrix &b)
{
    Matrix result{};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j)
            for (std::size_t k = 0; k < 4; ++k)
                result[i][j] += a[i][k] * b[k][j];
    return result;
}

/// The phase-space area [a, b] that columns \a a and \a b of \a m span.
double area(const Matrix &m, std::size_t a, std::size_t b)
{
    return m[0][a] * m[1][b] - m[1][a] * m[0][b] + m[2][a] * m[3][b] - m[3][a] * m[2][b];
}

void expectSymplectic(const Matrix &m)
{
    for (std::size_t a = 0; a < 4; ++a)
        for (std::size_t b = a + 1; b < 4; ++b) {
            const bool conjugate = (a == 0 && b == 1) || (a == 2 && b == 3);
            EXPECT_NEAR(area(m, a, b), conjugate ? 1 : 0, 1e-12) << "columns " << a << ", " << b;
        }
}

/// \a tolerance is relative, with matrix elements taken in units of mm and mrad.
void expectEqual(const Matrix &a, const Matrix &b, double tolerance)
{
    constexpr double unit[] = {1, 1e-3, 1, 1e-3};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j)
            EXPECT_NEAR(a[i][j] * unit[j] / unit[i], b[i][j] * unit[j] / unit[i], tolerance)
                << "row " << i << ", column " << j;
}

/// The matrix of an integrator that is linear, made of the images of the unit rays.
template <typename Map>
Matrix matrixOfMap(Map map)
{
    Matrix m{};
    for (std::size_t j = 0; j < 4; ++j) {
        const auto unit = [&](std::size_t i) { return i == j ? 1.0 : 0.0; };
        const Ray image = map(Ray{unit(0), unit(1), unit(2), unit(3)});
        const double rows[] = {image.x, image.xSlope, image.y, image.ySlope};
        for (std::size_t i = 0; i < 4; ++i)
            m[i][j] = rows[i];
    }
    return m;
}

const Lens lenses[] = {
    drift(0),
    drift(1000),
    quadrupole(4, 500, 1, p),
    quadrupole(-4, 500, 1, p),
    quadrupole(4, 500, -1, 2 * p),
    solenoid(2, 500, 1, p),
    solenoid(-3, 1500, 1, p / 2),
};

} // namespace

TEST(Optics, MatricesAreSymplectic)
{
    for (const Lens &each : lenses) {
        SCOPED_TRACE(testing::Message() << "kx " << each.kx << ", turn " << each.turn);
        expectSymplectic(matrixOf(each));
    }
}

TEST(Optics, WeakLensesApproachTheDrift)
{
    for (const double strength : {0.0, 1e-300, 1e-14, -1e-14}) {
        SCOPED_TRACE(strength);
        expectEqual(matrixOf(quadrupole(strength, 1000, 1, p)), matrixOf(drift(1000)), 1e-10);
        expectEqual(matrixOf(solenoid(strength, 1000, 1, p)), matrixOf(drift(1000)), 1e-10);
    }
}

TEST(Optics, ShortLensesApproachTheThinLens)
{
    // 1/f = k L is 1 1/m for every length
    for (const double length : {1e-3, 1e-6, 1e-9}) {
        SCOPED_TRACE(length);
        const Matrix m = matrixOf(quadrupole(1000 / length, length, 1, p));
        EXPECT_NEAR(m[1][0], -1e-3, 1e-9);
        EXPECT_NEAR(m[3][2], +1e-3, 1e-9);
        EXPECT_NEAR(m[0][0], 1, 1e-6);
        EXPECT_NEAR(m[0][1], length, 1e-6 * length);
    }
}

TEST(Optics, QuadrupoleFocusesByGradientChargeAndMomentum)
{
    struct Row {
        double gradient; ///< T/m
        double momentum; ///< MeV/c
        double charge;
        double kx; ///< 1/mm^2
    };
    const Row rows[] = {
        {3, p, 1, 3e-6},
        {3, p, -1, -3e-6},
        {-3, p, 1, -3e-6},
        {3, 2 * p, 1, 1.5e-6},
        {0, p, 1, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.gradient << " T/m, charge " << row.charge);
        const Lens quad = quadrupole(row.gradient, 100, row.charge, row.momentum);
        EXPECT_DOUBLE_EQ(quad.kx, row.kx);
        EXPECT_DOUBLE_EQ(quad.ky, -row.kx);
        EXPECT_EQ(quad.turn, 0);
    }
}

TEST(Optics, SolenoidIsTheTextbookMatrix)
{
    // The matrix written out, with K = B/(2 B rho) in 1/mm
    for (const double field : {2.0, -2.0}) {
        SCOPED_TRACE(field);
        const double K = field / 2 * 1e-3;
        const double C = std::cos(K * 700);
        const double S = std::sin(K * 700);
        const Matrix textbook = {{
            {{C * C, S * C / K, S * C, S * S / K}},
            {{-K * S * C, C * C, -K * S * S, S * C}},
            {{-S * C, -S * S / K, C * C, S * C / K}},
            {{K * S * S, -S * C, -K * S * C, C * C}},
        }};
        expectEqual(matrixOf(solenoid(field, 700, 1, p)), textbook, 1e-13);
    }
}

TEST(Optics, SolenoidTurnsByFieldChargeAndMomentum)
{
    struct Row {
        double field;    ///< T
        double momentum; ///< MeV/c
        double charge;
        double turn; ///< rad/mm
    };
    const Row rows[] = {
        {3, p, 1, 1.5e-3},
        {3, p, -1, -1.5e-3},
        {-3, p, 1, -1.5e-3},
        {3, 2 * p, 1, 0.75e-3},
        {0, p, 1, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.field << " T, charge " << row.charge);
        const Lens each = solenoid(row.field, 100, row.charge, row.momentum);
        EXPECT_DOUBLE_EQ(each.turn, row.turn);
        EXPECT_DOUBLE_EQ(each.kx, row.turn * row.turn);
        EXPECT_DOUBLE_EQ(each.ky, row.turn * row.turn);
        EXPECT_EQ(each.length, 100);
    }
}

TEST(Optics, HalvesOfALensMakeTheWhole)
{
    for (const Lens &each : lenses) {
        Lens half = each;
        half.length /= 2;
        SCOPED_TRACE(testing::Message() << "kx " << each.kx << ", turn " << each.turn);
        expectEqual(product(matrixOf(half), matrixOf(half)), matrixOf(each), 1e-13);
    }
}

TEST(Optics, FodoCellHasTheClosedFormTrace)
{
    const double w = 2e-3; // sqrt(k), 1/mm
    const double f = 0.6;  // phase of a 300 mm quadrupole
    for (const double d : {0.0, 100.0, 500.0, 983.0}) {
        SCOPED_TRACE(d);
        const Matrix gap = matrixOf(drift(d));
        const Matrix focus = matrixOf(quadrupole(4, 300, 1, p));
        const Matrix defocus = matrixOf(quadrupole(-4, 300, 1, p));
        const Matrix cell = product(gap, product(defocus, product(gap, focus)));
        const double halfTrace = std::cos(f) * std::cosh(f) +
                                 w * d * (std::cos(f) * std::sinh(f) - std::sin(f) * std::cosh(f)) -
                                 w * d * w * d * std::sin(f) * std::sinh(f) / 2;
        EXPECT_NEAR((cell[0][0] + cell[1][1]) / 2, halfTrace, 1e-13);
        EXPECT_NEAR((cell[2][2] + cell[3][3]) / 2, halfTrace, 1e-13);
    }
}

TEST(Kick, SlicesAreSymplecticEvenWhenTheyAreFew)
{
    for (const Lens &each : lenses) {
        SCOPED_TRACE(testing::Message() << "kx " << each.kx << ", turn " << each.turn);
        expectSymplectic(matrixOfMap([&](const Ray &ray) { return kicked(each, ray, 2); }));
    }
}

TEST(Kick, LeapfrogConvergesAtSecondOrder)
{
    const Ray start{1, 0.002, -0.5, 0.001};
    for (const Lens &each : {quadrupole(4, 500, 1, p), solenoid(2, 500, 1, p)}) {
        SCOPED_TRACE(testing::Message() << "turn " << each.turn);
        const Ray exact = transported(each, start);
        const auto errorOf = [&](int slices) {
            return std::fabs(kicked(each, start, slices).x - exact.x);
        };
        for (const int slices : {10, 20, 40, 80}) // half the step gives a quarter of the error
            EXPECT_NEAR(errorOf(slices) / errorOf(2 * slices), 4, 0.02) << slices;
    }
}

TEST(Kick, DefaultSlicesAgreeWithTheMatrices)
{
    for (const Lens &each : lenses) {
        SCOPED_TRACE(testing::Message() << "kx " << each.kx << ", turn " << each.turn);
        expectEqual(
            matrixOfMap([&](const Ray &ray) { return kicked(each, ray); }), matrixOf(each), 3e-8);
    }
}

TEST(Kick, SlicesAreAsGoodAsPromised)
{
    constexpr double h = phasePerSlice;
    constexpr double rounding = 1e-10; // the rounding of 667000 slices
    static_assert(h * h * (1.0 / 8 + largestPhase / 24) + rounding < 1e-7, "1 part in 10^7");
    for (const double phase : {h, 0.1, 1.0, 7.0, largestPhase}) {
        const double bound = h * h * (1.0 / 8 + phase / 24) + rounding;
        // With the strength 1/mm^2, slopes are already in units of sqrt(k).
        const Lens strong[] = {{1, -1, 0, phase}, {1, 1, 1, phase}, {1, 1, -1, phase}};
        for (const Lens &each : strong) {
            SCOPED_TRACE(testing::Message() << phase << " rad, turn " << each.turn);
            const Matrix m = matrixOf(each);
            const Matrix slices = matrixOfMap([&](const Ray &ray) { return kicked(each, ray); });
            for (std::size_t i = 0; i < 4; ++i)
                for (std::size_t j = 0; j < 4; ++j) {
                    const double amplitude = i >= 2 && each.ky < 0 ? std::cosh(phase) : 1;
                    EXPECT_NEAR(slices[i][j] / amplitude, m[i][j] / amplitude, bound)
                        << "row " << i << ", column " << j;
                }
        }
    }
}

TEST(Kick, LensesAboveTheLargestPhaseAreRefused)
{
    const Ray start{1, 0, 0, 0};
    const double above = std::nextafter(largestPhase, std::numeric_limits<double>::infinity());
    EXPECT_NEAR(kicked({1, -1, 0, largestPhase}, start).x, std::cos(largestPhase), 1e-7);
    EXPECT_TRUE(std::isnan(kicked({1, -1, 0, above}, start).x));
    EXPECT_TRUE(std::isnan(kicked({-1, 1, 0, above}, start).x));
    // The same limit with a field in T and a length in mm, at 1 rad/m.
    EXPECT_NEAR(kicked(solenoid(2, 99.99e3, 1, p), start).x, std::pow(std::cos(99.99), 2), 1e-7);
    EXPECT_TRUE(std::isnan(kicked(solenoid(2, 100.01e3, 1, p), start).x));
    EXPECT_TRUE(std::isnan(kicked(quadrupole(1e308, 1e308, 1, p), start).x));
}
