#version 430 core
// GlImage: samples the image volume through its world-to-texture matrix and maps the value through
// window/level and a colour map. With MAXIMUM_INTENSITY defined, each fragment casts the viewing ray
// through the volume and shows the largest value on it; otherwise it shows the value at its own
// world position (a slice), discarding positions outside the image. The colour's alpha is scaled by
// the opacity; in label mode values below 0.5 (label 0) are discarded.
in vec3 vWorld;
out vec4 fragColor;

uniform sampler3D uVolume;
uniform sampler1D uColormap;
uniform int uColormapSize;
uniform mat4 uWorldToTexture;
uniform float uValueScale;  // stored texel -> image value: value = texel * scale + offset
uniform float uValueOffset;
uniform float uWindowLow;   // level - window / 2
uniform float uWindowWidth;
uniform float uOpacity;
uniform int uLabelMode;

#ifdef MAXIMUM_INTENSITY
uniform mat4 uClipToWorld;
uniform vec2 uViewportSize;
uniform vec3 uVolumeSize; // voxels per axis
#else
uniform int uFlatZ;       // one-slice image: sample its slice wherever the plane lies
#endif

float imageValue(vec3 textureCoord) { return texture(uVolume, textureCoord).r * uValueScale + uValueOffset; }

vec4 mapped(float value) {
    if (uLabelMode != 0 && value < 0.5)
        discard;
    float t = clamp((value - uWindowLow) / uWindowWidth, 0.0, 1.0);
    vec4 colour = texture(uColormap, (t * float(uColormapSize - 1) + 0.5) / float(uColormapSize));
    return vec4(colour.rgb, colour.a * uOpacity);
}

void main() {
#ifdef MAXIMUM_INTENSITY
    vec2 ndc = gl_FragCoord.xy / uViewportSize * 2.0 - 1.0;
    vec4 nearWorld = uClipToWorld * vec4(ndc, -1.0, 1.0);
    vec4 farWorld = uClipToWorld * vec4(ndc, 1.0, 1.0);
    vec4 a = uWorldToTexture * vec4(nearWorld.xyz / nearWorld.w, 1.0);
    vec4 b = uWorldToTexture * vec4(farWorld.xyz / farWorld.w, 1.0);
    vec3 start = a.xyz, direction = b.xyz - a.xyz;
    direction = mix(direction, vec3(1e-12), lessThan(abs(direction), vec3(1e-12)));
    vec3 t0 = -start / direction, t1 = (vec3(1.0) - start) / direction;
    vec3 tMin = min(t0, t1), tMax = max(t0, t1);
    float enter = max(max(tMin.x, tMin.y), max(tMin.z, 0.0));
    float leave = min(min(tMax.x, tMax.y), min(tMax.z, 1.0));
    if (enter >= leave)
        discard;
    // Two samples per voxel crossed.
    int steps = clamp(int(ceil(2.0 * length(direction * uVolumeSize) * (leave - enter))), 1, 4096);
    float best = imageValue(start + direction * enter);
    for (int i = 1; i <= steps; ++i)
        best = max(best, imageValue(start + direction * mix(enter, leave, float(i) / float(steps))));
    fragColor = mapped(best);
#else
    vec3 textureCoord = (uWorldToTexture * vec4(vWorld, 1.0)).xyz;
    if (uFlatZ != 0)
        textureCoord.z = 0.5;
    if (any(lessThan(textureCoord, vec3(0.0))) || any(greaterThan(textureCoord, vec3(1.0))))
        discard;
    fragColor = mapped(imageValue(textureCoord));
#endif
}
