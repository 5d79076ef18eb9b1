#pragma once

#include <Eigen/Core>

#include <functional>

namespace Tarnwick {

/// Adaptive explicit integration of x' = f(t, x) for a matrix-valued state (one row per node, three
/// columns) with the Bogacki-Shampine 5(4) embedded Runge-Kutta pair (Bogacki & Shampine 1996: eight
/// stages, the last evaluated at the new point and reused as the first of the next step).
namespace BogackiShampineIntegrator {

using State = Eigen::MatrixX3d;
/// The right-hand side: writes f(t, x) into the last argument, which comes sized like x.
using Derivative = std::function<void(double t, const State& x, State& dxdt)>;

struct StepResult {
    State x;            ///< fifth-order solution at t + h
    State dxdt;         ///< f(t + h, x), the first stage of the next step
    double error = 0.0; ///< largest absolute difference between the fifth- and fourth-order solutions
};

/// One step of size h from (t, x) whose derivative there is dxdt. Seven evaluations of f.
StepResult bs5Step(const Derivative& f, double t, const State& x, const State& dxdt, double h);

struct Settings {
    double initialStep = 0.01;
    double tolerance = 0.01; ///< on StepResult::error
    /// Upper bound on attempted steps, so that a stiff or broken right-hand side cannot run forever.
    long maxSteps = 100000;
};

struct Outcome {
    bool reachedEnd = false; ///< false: the step size fell below machine epsilon or maxSteps was spent
    double time = 0.0;       ///< time of the last accepted state
    long acceptedSteps = 0;
    long rejectedSteps = 0;
};

/// Integrates x from t0 to t1 in place. After an accepted step h becomes
/// h * min(5, max(0.2, 0.9 (tol / err)^0.2)), after a rejected one h * max(0.2, 0.9 (tol / (1e-10 + err))^0.2);
/// the last step is clipped to end exactly at t1. A non-finite error counts as a rejection. When the end
/// is not reached, x holds the last accepted state.
Outcome integrate(const Derivative& f, double t0, double t1, State& x, const Settings& settings = {});

} // namespace BogackiShampineIntegrator
} // namespace Tarnwick
