// One-dimensional reconstruction kernels: the weight of a source sample at a
// signed distance (in source pixels) from the point being reconstructed.
// Everything is single precision except the rational approximations of the
// Bessel function, which are evaluated in double precision.
#include <cmath>

#include "BmpProcessing.h"

namespace {

// Pi and 2 pi as single-precision constants.
constexpr float kPi = 3.1415927f;
constexpr float kTwoPi = 6.2831855f;

// 1/6, the B-spline's normalisation.
constexpr float kSixth = 0.16666667f;
// Hamming taper factor.
constexpr float kHammingScale = 0.92f;
// Blackman window coefficients.
constexpr float kBlackman0 = 0.42f, kBlackman1 = 0.5f, kBlackman2 = 0.08f;
// pi/4, the Bessel kernel's value at 0.
constexpr float kQuarterPi = 0.7853982f;
// sqrt(2/pi), the Gaussian's normalisation.
constexpr float kGaussianScale = 0.7978846f;
// 1/sqrt(2), the phase factor of the asymptotic Bessel form.
constexpr float kInvSqrt2 = 0.70710677f;
// The Bessel function switches from the rational to the asymptotic form here.
constexpr float kBesselSwitch = 8.0f;

// Mitchell-Netravali cubic with both shape parameters 1/3.
constexpr float kMitchellP0 = 0.8888889f;  // 8/9
constexpr float kMitchellP2 = -2.0f;
constexpr float kMitchellP3 = 1.1666666f;   // 7/6
constexpr float kMitchellQ0 = 1.7777778f;   // 16/9
constexpr float kMitchellQ1 = -3.3333333f;  // -10/3
constexpr float kMitchellQ2 = 2.0f;
constexpr float kMitchellQ3 = -0.38888887f;  // -7/18

// Rational approximation of J1(x)/x for |x| < 8 (highest index leads).
constexpr double kJ1P[9] = {5.8119935400160612e+20,  -6.6721065689249161e+19, 2.3164335806340024e+18,
                            -3.5888175699101060e+16, 290879526383477.56,      -1322983480332.1265,
                            3413234182.3017006,      -4695753.5306429956,     2701.1227108923235};
constexpr double kJ1Q[9] = {1.1623987080032122e+21, 1.185770712190321e+19, 6.0920613989175216e+16,
                            208166122130760.75,     524371026216.76495,    1013863514.358674,
                            1501793.5949985855,     1606.9315734814877,    1.0};
// Asymptotic factor P1 for |x| >= 8.
constexpr double kP1P[6] = {35224.664913367982, 62758.845247161284, 31353.963110915956,
                            4985.4832060594335, 211.15291828539623, 1.2571716929145342};
constexpr double kP1Q[6] = {35224.664913367982, 62694.346959356051, 31240.406381904104,
                            4930.3964901810887, 203.07751891347593, 1.0};
// Asymptotic factor Q1 for |x| >= 8.
constexpr double kQ1P[6] = {351.17519143035526, 721.03918049044751, 425.98730116544425,
                            83.189895767385082, 4.5681716295512267, 0.035328400527401237};
constexpr double kQ1Q[6] = {7491.7374171809124, 15414.177339265098, 9152.231701516992,
                            1811.1867005523513, 103.81875854621337, 1.0};

// Returns p(z)/q(z) for two polynomials of degree n - 1 in Horner form,
// converted to float.
template <int n>
float RationalHorner(const double (&p)[n], const double (&q)[n], double z)
{
    double num = p[n - 1];
    double den = q[n - 1];
    for (int i = n - 2; i >= 0; --i) {
        num = num * z + p[i];
        den = den * z + q[i];
    }
    return static_cast<float>(num / den);
}

// x cubed, x + offset cubed when positive, else 0 (B-spline terms).
float PositiveCube(float v)
{
    return v > 0.0f ? v * v * v : 0.0f;
}

}  // namespace

float CBmpProcessing::KernelLinear(float x)
{
    if (x < -1.0f) {
        return 0.0f;
    }
    if (x < 0.0f) {
        return x + 1.0f;
    }
    if (x < 1.0f) {
        return 1.0f - x;
    }
    return 0.0f;
}

float CBmpProcessing::KernelCubic(float x)
{
    const float a = std::fabs(x);
    if (a < 1.0f) {
        return 1.0f - 2.0f * a * a + a * a * a;
    }
    if (a < 2.0f) {
        return 4.0f - 8.0f * a + 5.0f * a * a - a * a * a;
    }
    return 0.0f;
}

float CBmpProcessing::KernelGeneralizedCubic(float x, float a)
{
    const float t = std::fabs(x);
    if (t < 1.0f) {
        return (a + 2.0f) * t * t * t - (a + 3.0f) * t * t + 1.0f;
    }
    if (t < 2.0f) {
        return a * t * t * t - 5.0f * a * t * t + 8.0f * a * t - 4.0f * a;
    }
    return 0.0f;
}

float CBmpProcessing::KernelLanczosSinc(float x, float r)
{
    if (std::fabs(x) > r) {
        return 0.0f;
    }
    if (x == 0.0f) {
        return 1.0f;
    }
    const float px = kPi * x;
    const float pxr = kPi * x / r;
    return (std::sin(px) / px) * (std::sin(pxr) / pxr);
}

float CBmpProcessing::KernelBox(float x)
{
    if (x < -0.5f) {
        return 0.0f;
    }
    if (x < 0.5f) {
        return 1.0f;
    }
    return 0.0f;
}

float CBmpProcessing::KernelBSpline(float x)
{
    if (x > 2.0f) {
        return 0.0f;
    }
    const float a = PositiveCube(x + 2.0f);
    const float b = PositiveCube(x + 1.0f);
    const float c = PositiveCube(x);
    const float d = PositiveCube(x - 1.0f);
    return (a - 4.0f * b + 6.0f * c - 4.0f * d) * kSixth;
}

float CBmpProcessing::KernelHermite(float x)
{
    if (x < -1.0f) {
        return 0.0f;
    }
    if (x < 0.0f) {
        return -2.0f * x * x * x - 3.0f * x * x + 1.0f;
    }
    if (x < 1.0f) {
        return 2.0f * x * x * x - 3.0f * x * x + 1.0f;
    }
    return 0.0f;
}

float CBmpProcessing::KernelHanning(float x)
{
    if (std::fabs(x) > 1.0f) {
        return 0.0f;
    }
    // No case for x == 0: the weight there is 0/0, NaN, as it always was.
    const float px = kPi * x;
    return (0.5f + 0.5f * std::cos(px)) * (std::sin(px) / px);
}

float CBmpProcessing::KernelHamming(float x)
{
    if (x < -1.0f) {
        return 0.0f;
    }
    if (x < 0.0f) {
        return kHammingScale * (-2.0f * x - 3.0f) * x * x + 1.0f;
    }
    if (x < 1.0f) {
        return kHammingScale * (2.0f * x - 3.0f) * x * x + 1.0f;
    }
    return 0.0f;
}

float CBmpProcessing::KernelSinc(float x)
{
    if (x == 0.0f) {
        return 1.0f;
    }
    const float px = kPi * x;
    return std::sin(px) / px;
}

float CBmpProcessing::KernelBlackman(float x)
{
    return kBlackman0 + kBlackman1 * std::cos(kPi * x) + kBlackman2 * std::cos(kTwoPi * x);
}

float CBmpProcessing::KernelBessel(float x)
{
    if (x == 0.0f) {
        return kQuarterPi;
    }
    return KernelBessel_Order1(kPi * x) / (2.0f * x);
}

float CBmpProcessing::KernelGaussian(float x)
{
    return std::exp(-2.0f * x * x) * kGaussianScale;
}

float CBmpProcessing::KernelQuadratic(float x)
{
    if (x < -1.5f) {
        return 0.0f;
    }
    if (x < -0.5f) {
        return 0.5f * (x + 1.5f) * (x + 1.5f);
    }
    if (x < 0.5f) {
        return 0.75f - x * x;
    }
    if (x < 1.5f) {
        return 0.5f * (x - 1.5f) * (x - 1.5f);
    }
    return 0.0f;
}

float CBmpProcessing::KernelMitchell(float x)
{
    if (x < -2.0f) {
        return 0.0f;
    }
    if (x < -1.0f) {
        return kMitchellQ0 - x * (kMitchellQ1 - x * (kMitchellQ2 - x * kMitchellQ3));
    }
    if (x < 0.0f) {
        return kMitchellP0 + x * x * (kMitchellP2 - x * kMitchellP3);
    }
    if (x < 1.0f) {
        return kMitchellP0 + x * x * (kMitchellP2 + x * kMitchellP3);
    }
    if (x < 2.0f) {
        return kMitchellQ0 + x * (kMitchellQ1 + x * (kMitchellQ2 + x * kMitchellQ3));
    }
    return 0.0f;
}

float CBmpProcessing::KernelCatrom(float x)
{
    if (x < -2.0f) {
        return 0.0f;
    }
    if (x < -1.0f) {
        return 0.5f * (4.0f + x * (8.0f + x * (5.0f + x)));
    }
    if (x < 0.0f) {
        return 0.5f * (2.0f + x * x * (-5.0f - 3.0f * x));
    }
    if (x < 1.0f) {
        return 0.5f * (2.0f + x * x * (-5.0f + 3.0f * x));
    }
    if (x < 2.0f) {
        return 0.5f * (4.0f + x * (-8.0f + x * (5.0f - x)));
    }
    return 0.0f;
}

float CBmpProcessing::KernelPower(float x, float a)
{
    if (std::fabs(x) > 1.0f) {
        return 0.0f;
    }
    return 1.0f - std::fabs(std::pow(x, a));
}

float CBmpProcessing::KernelBessel_Order1(float x)
{
    if (x == 0.0f) {
        return 0.0f;
    }
    const float t = std::fabs(x);
    if (t < kBesselSwitch) {
        return x * KernelBessel_J1(t);
    }
    const float s = std::sqrt(2.0f / (kPi * t));
    const float u = kBesselSwitch / t;
    const float p = KernelBessel_P1(t);
    const float q = KernelBessel_Q1(t);
    const float sn = std::sin(t);
    const float cs = std::cos(t);
    const float v = s * (p * kInvSqrt2 * (sn - cs) + u * q * kInvSqrt2 * (sn + cs));
    return x < 0.0f ? -v : v;
}

float CBmpProcessing::KernelBessel_J1(float x)
{
    const double z = static_cast<double>(x) * static_cast<double>(x);
    return RationalHorner(kJ1P, kJ1Q, z);
}

float CBmpProcessing::KernelBessel_P1(float x)
{
    const double w = 8.0 / static_cast<double>(x);
    return RationalHorner(kP1P, kP1Q, w * w);
}

float CBmpProcessing::KernelBessel_Q1(float x)
{
    const double w = 8.0 / static_cast<double>(x);
    return RationalHorner(kQ1P, kQ1Q, w * w);
}
