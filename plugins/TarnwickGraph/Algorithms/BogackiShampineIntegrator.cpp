// Bogacki-Shampine 5(4) integrator: an explicit eight-stage Runge-Kutta pair with first-same-as-last,
// so a step costs seven right-hand-side evaluations; the difference between the embedded fifth- and
// fourth-order solutions estimates the local error and drives the step size. Memory: nine states.

#include <TarnwickGraph/Algorithms/BogackiShampineIntegrator.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace Tarnwick::BogackiShampineIntegrator {

namespace {

constexpr std::array<double, 8> c = {0.0, 1.0 / 6, 2.0 / 9, 3.0 / 7, 2.0 / 3, 3.0 / 4, 1.0, 1.0};

// Rows 1..7 of the Butcher tableau (row i has i entries); row 7 doubles as the fifth-order weights.
const std::array<std::array<double, 7>, 8> a = {{
    {},
    {1.0 / 6},
    {2.0 / 27, 4.0 / 27},
    {183.0 / 1372, -162.0 / 343, 1053.0 / 1372},
    {68.0 / 297, -4.0 / 11, 42.0 / 143, 1960.0 / 3861},
    {597.0 / 22528, 81.0 / 352, 63099.0 / 585728, 58653.0 / 366080, 4617.0 / 20480},
    {174197.0 / 959244, -30942.0 / 79937, 8152137.0 / 19744439, 666106.0 / 1039181, -29421.0 / 29068,
     482048.0 / 414219},
    {587.0 / 8064, 0.0, 4440339.0 / 15491840, 24353.0 / 124800, 387.0 / 44800, 2152.0 / 5985, 7267.0 / 94080},
}};

// Fourth-order weights of the embedded solution (eight stages).
constexpr std::array<double, 8> b4 = {2479.0 / 34992, 0.0,           123.0 / 416,       612941.0 / 3411720,
                                      43.0 / 1440,    2272.0 / 6561, 79937.0 / 1113912, 3293.0 / 556956};

} // namespace

StepResult bs5Step(const Derivative& f, double t, const State& x, const State& dxdt, double h) {
    std::array<State, 8> k;
    k[0] = dxdt;
    State stage(x.rows(), 3);
    for (std::size_t i = 1; i < 8; ++i) {
        stage = x;
        for (std::size_t j = 0; j < i; ++j)
            if (a[i][j] != 0.0)
                stage.noalias() += (h * a[i][j]) * k[j];
        k[i].resize(x.rows(), 3);
        f(t + c[i] * h, stage, k[i]);
    }
    // The last stage point is the fifth-order solution; its derivative is k[7].
    State fourth = x;
    for (std::size_t j = 0; j < 8; ++j)
        if (b4[j] != 0.0)
            fourth.noalias() += (h * b4[j]) * k[j];
    StepResult result;
    result.error = x.rows() == 0 ? 0.0 : (stage - fourth).cwiseAbs().maxCoeff();
    result.x = std::move(stage);
    result.dxdt = std::move(k[7]);
    return result;
}

Outcome integrate(const Derivative& f, double t0, double t1, State& x, const Settings& settings) {
    constexpr double epsilon = std::numeric_limits<double>::epsilon();
    Outcome outcome;
    double t = t0;
    double h = settings.initialStep;
    State dxdt(x.rows(), 3);
    f(t, x, dxdt);
    while (t1 - t > epsilon * std::max(1.0, std::abs(t1))) {
        if (h < epsilon || outcome.acceptedSteps + outcome.rejectedSteps >= settings.maxSteps) {
            outcome.time = t;
            return outcome;
        }
        const double step = std::min(h, t1 - t);
        StepResult result = bs5Step(f, t, x, dxdt, step);
        if (std::isfinite(result.error) && result.error <= settings.tolerance) {
            t += step;
            x = std::move(result.x);
            dxdt = std::move(result.dxdt);
            ++outcome.acceptedSteps;
            h = step * std::min(5.0, std::max(0.2, 0.9 * std::pow(settings.tolerance / result.error, 0.2)));
        } else {
            ++outcome.rejectedSteps;
            const double ratio =
                std::isfinite(result.error) ? 0.9 * std::pow(settings.tolerance / (1e-10 + result.error), 0.2) : 0.2;
            h = step * std::max(0.2, ratio);
        }
    }
    outcome.reachedEnd = true;
    outcome.time = t1;
    return outcome;
}

} // namespace Tarnwick::BogackiShampineIntegrator
