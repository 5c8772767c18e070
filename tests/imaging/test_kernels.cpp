// Tests of the one-dimensional interpolation kernels.
#include <gtest/gtest.h>

#include <cmath>

#include "BmpProcessing.h"

using K = CBmpProcessing;

TEST(Kernels, BoxIsOneAtMinusHalfAndZeroAtHalf)
{
    EXPECT_EQ(K::KernelBox(-0.5f), 1.0f);
    EXPECT_EQ(K::KernelBox(0.5f), 0.0f);
    EXPECT_EQ(K::KernelBox(-0.51f), 0.0f);
    EXPECT_EQ(K::KernelBox(0.49f), 1.0f);
}

TEST(Kernels, LinearIsZeroAtMinusOneAndAtOne)
{
    EXPECT_EQ(K::KernelLinear(-1.0f), 0.0f);
    EXPECT_EQ(K::KernelLinear(1.0f), 0.0f);
    EXPECT_EQ(K::KernelLinear(-1.5f), 0.0f);
}

TEST(Kernels, LinearIsATentInside)
{
    EXPECT_EQ(K::KernelLinear(0.25f), 0.75f);
    EXPECT_EQ(K::KernelLinear(-0.25f), 0.75f);
    EXPECT_EQ(K::KernelLinear(0.0f), 1.0f);
}

TEST(Kernels, LanczosAtItsRadiusIsEvaluatedByTheFormula)
{
    const float v = K::KernelLanczosSinc(6.0f, 6.0f);
    EXPECT_NE(v, 0.0f);
    EXPECT_LT(std::fabs(v), 1e-5f);
}

TEST(Kernels, LanczosJustBeyondItsRadiusIsExactlyZero)
{
    EXPECT_EQ(K::KernelLanczosSinc(6.01f, 6.0f), 0.0f);
}

TEST(Kernels, LanczosIsOneAtZero)
{
    EXPECT_EQ(K::KernelLanczosSinc(0.0f, 6.0f), 1.0f);
}

TEST(Kernels, BSplineAtZeroIsFourSixths)
{
    EXPECT_EQ(K::KernelBSpline(0.0f), 4.0f * 0.16666667f);
    EXPECT_FLOAT_EQ(K::KernelBSpline(0.0f), 0.6666667f);
}

TEST(Kernels, BSplineAtOneIsOneSixth)
{
    // 27 - 4 * 8 + 6 * 1 - 0, times 1/6.
    EXPECT_EQ(K::KernelBSpline(1.0f), 0.16666667f);
}

TEST(Kernels, BSplineBeyondTwoIsZero)
{
    EXPECT_EQ(K::KernelBSpline(2.0001f), 0.0f);
}

TEST(Kernels, BSplineAtMinusTwoAndAHalfIsZeroAsAllTermsVanish)
{
    EXPECT_EQ(K::KernelBSpline(-2.5f), 0.0f);
}

TEST(Kernels, CubicFollowsItsTwoPieces)
{
    EXPECT_EQ(K::KernelCubic(0.5f), 0.625f);
    EXPECT_EQ(K::KernelCubic(-1.5f), -0.125f);
    EXPECT_EQ(K::KernelCubic(2.0f), 0.0f);
}

TEST(Kernels, GeneralizedCubicWithMinusHalfEqualsCatmullRom)
{
    for (float x = -2.5f; x <= 2.5f; x += 0.0625f) {
        EXPECT_NEAR(K::KernelGeneralizedCubic(x, -0.5f), K::KernelCatrom(x), 1e-6f) << x;
    }
}

TEST(Kernels, HermiteIsSymmetricAndZeroAtTheEnds)
{
    EXPECT_EQ(K::KernelHermite(-0.5f), 0.5f);
    EXPECT_EQ(K::KernelHermite(0.5f), 0.5f);
    EXPECT_EQ(K::KernelHermite(-1.0f), 0.0f);
    EXPECT_EQ(K::KernelHermite(1.0f), 0.0f);
}

TEST(Kernels, HammingTapersByPoint92)
{
    EXPECT_FLOAT_EQ(K::KernelHamming(0.5f), 0.54f);
    EXPECT_FLOAT_EQ(K::KernelHamming(-0.5f), 0.54f);
    EXPECT_EQ(K::KernelHamming(1.0f), 0.0f);
}

TEST(Kernels, QuadraticIsZeroAtBothEndsOfItsSupport)
{
    EXPECT_EQ(K::KernelQuadratic(-1.5f), 0.0f);
    EXPECT_EQ(K::KernelQuadratic(1.5f), 0.0f);
    EXPECT_EQ(K::KernelQuadratic(0.0f), 0.75f);
    EXPECT_EQ(K::KernelQuadratic(1.0f), 0.125f);
}

TEST(Kernels, SincIsOneAtZero)
{
    EXPECT_EQ(K::KernelSinc(0.0f), 1.0f);
    EXPECT_LT(std::fabs(K::KernelSinc(1.0f)), 1e-6f);
}

TEST(Kernels, BlackmanSumsToOneAtZero)
{
    EXPECT_FLOAT_EQ(K::KernelBlackman(0.0f), 1.0f);
}

TEST(Kernels, GaussianAtZeroIsItsNormalisation)
{
    EXPECT_EQ(K::KernelGaussian(0.0f), 0.7978846f);
}

TEST(Kernels, MitchellAtZeroIsEightNinths)
{
    EXPECT_EQ(K::KernelMitchell(0.0f), 0.8888889f);
    EXPECT_NEAR(K::KernelMitchell(1.0f), 1.0f / 18.0f, 1e-6f);
    EXPECT_EQ(K::KernelMitchell(2.0f), 0.0f);
}

TEST(Kernels, CatromIsOneAtZeroAndZeroAtOne)
{
    EXPECT_EQ(K::KernelCatrom(0.0f), 1.0f);
    EXPECT_EQ(K::KernelCatrom(1.0f), 0.0f);
    EXPECT_EQ(K::KernelCatrom(-1.0f), 0.0f);
}

TEST(Kernels, PowerIsOneMinusTheSquare)
{
    EXPECT_EQ(K::KernelPower(0.5f, 2.0f), 0.75f);
    EXPECT_EQ(K::KernelPower(-0.5f, 2.0f), 0.75f);
    EXPECT_EQ(K::KernelPower(1.5f, 2.0f), 0.0f);
}

TEST(Kernels, PowerOfANegativeDistanceWithAFractionalExponentIsNaN)
{
    EXPECT_TRUE(std::isnan(K::KernelPower(-0.5f, 2.5f)));
}

TEST(Kernels, HanningAtZeroIsNaN)
{
    EXPECT_TRUE(std::isnan(K::KernelHanning(0.0f)));
}

TEST(Kernels, HanningIsZeroBeyondOne)
{
    EXPECT_EQ(K::KernelHanning(1.5f), 0.0f);
    EXPECT_NEAR(K::KernelHanning(0.5f), 0.31830987f, 1e-6f);
}

TEST(Kernels, BesselAtZeroIsQuarterPi)
{
    EXPECT_EQ(K::KernelBessel(0.0f), 0.7853982f);
}

TEST(Kernels, BesselOrderOneIsOdd)
{
    for (float x : {0.5f, 3.0f, 7.9f, 8.0f, 12.0f, 30.0f}) {
        EXPECT_EQ(K::KernelBessel_Order1(-x), -K::KernelBessel_Order1(x)) << x;
    }
    EXPECT_EQ(K::KernelBessel_Order1(0.0f), 0.0f);
}

TEST(Kernels, BesselOrderOneUsesTheRationalFormBelowEight)
{
    EXPECT_EQ(K::KernelBessel_Order1(7.99f), 7.99f * K::KernelBessel_J1(7.99f));
}

TEST(Kernels, BesselOrderOneSwitchesToTheAsymptoticFormAtEight)
{
    const float t = 8.0f;
    const float s = std::sqrt(2.0f / (3.1415927f * t));
    const float u = 8.0f / t;
    const float p = K::KernelBessel_P1(t);
    const float q = K::KernelBessel_Q1(t);
    const float want =
        s * (p * 0.70710677f * (std::sin(t) - std::cos(t)) + u * q * 0.70710677f * (std::sin(t) + std::cos(t)));
    EXPECT_EQ(K::KernelBessel_Order1(t), want);
}

TEST(Kernels, BesselOrderOneApproximatesTheBesselFunction)
{
    EXPECT_NEAR(K::KernelBessel_Order1(1.0f), 0.44005059f, 2e-6f);
    EXPECT_NEAR(K::KernelBessel_Order1(3.0f), 0.33905896f, 2e-6f);
    EXPECT_NEAR(K::KernelBessel_Order1(8.0f), 0.23463635f, 2e-6f);
    EXPECT_NEAR(K::KernelBessel_Order1(10.0f), 0.04347275f, 2e-6f);
    EXPECT_NEAR(K::KernelBessel_Order1(20.0f), 0.06683312f, 2e-6f);
}

TEST(Kernels, BesselKernelIsOrderOneOfPiXOverTwoX)
{
    EXPECT_EQ(K::KernelBessel(0.5f), K::KernelBessel_Order1(3.1415927f * 0.5f) / 1.0f);
}
