#version 430
// Writes a label computed from the voxel index into every voxel of a 3-D R32UI image:
// x + 10 y + 100 z + u_offset, doubled when DOUBLE_VALUES is defined.
layout(local_size_x = 4, local_size_y = 4, local_size_z = 4) in;
layout(r32ui, binding = 0) uniform writeonly uimage3D u_output;
uniform ivec3 u_dims;
uniform int u_offset;

void main() {
    ivec3 voxel = ivec3(gl_GlobalInvocationID);
    if (any(greaterThanEqual(voxel, u_dims)))
        return;
    uint value = uint(voxel.x + 10 * voxel.y + 100 * voxel.z + u_offset);
#ifdef DOUBLE_VALUES
    value *= 2u;
#endif
    imageStore(u_output, voxel, uvec4(value));
}
