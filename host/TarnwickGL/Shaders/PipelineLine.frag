#version 430 core
// Fragment stage of FixedFunctionPipeline for lines: coverage of the pixel by a line uLineWidth pixels
// wide, estimated from the distance to its centre line when uSmooth is set.
in vec4 gColor;
noperspective in float gDistance;
out vec4 fragColor;

uniform float uLineWidth;
uniform int uSmooth;

void main() {
    float coverage = uSmooth != 0 ? clamp(0.5 * uLineWidth + 0.5 - abs(gDistance), 0.0, 1.0) : 1.0;
    if (coverage <= 0.0)
        discard;
    fragColor = vec4(gColor.rgb, gColor.a * coverage);
}
