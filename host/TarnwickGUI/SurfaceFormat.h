#pragma once

namespace Tarnwick {

/// Makes every Qt GL context an OpenGL 4.3 core-profile context with a depth buffer and 4x
/// multisampling, as the views need. Call before the QApplication is created.
void setDefaultSurfaceFormat();

} // namespace Tarnwick
