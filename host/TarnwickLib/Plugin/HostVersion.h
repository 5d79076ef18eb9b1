#pragma once

/// The descriptor string a plug-in built against this host exports as `tarnwickPluginDescriptor`:
/// magic, the host version it was built for, the host's ABI-relevant build flags and the plug-in's
/// own version (empty here; plug-ins may append theirs).
#define TARNWICK_PLUGIN_DESCRIPTOR                                                                                     \
    "__TARNWICK_PLUGIN_V2_MAGIC_STRING__|hostversion=4.5.0|buildflags=GLIBCXX_DEBUG:_GLIBCXX_DEBUG|"                   \
    "pluginversion="

namespace Tarnwick::HostVersion {

/// Version of the host libraries; a plug-in loads only when its host version has the same major
/// and minor numbers.
inline constexpr const char* version = "4.5.0";
/// Names the ABI-relevant build option (the standard library's debug mode) and its macro; a plug-in
/// loads only when its descriptor records exactly this text.
inline constexpr const char* buildFlags = "GLIBCXX_DEBUG:_GLIBCXX_DEBUG";
/// First field of every descriptor this host understands.
inline constexpr const char* pluginMagic = "__TARNWICK_PLUGIN_V2_MAGIC_STRING__";

} // namespace Tarnwick::HostVersion
