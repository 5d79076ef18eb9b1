// Entry points of the test plug-in libraries. Each library is this file compiled with some of:
//   TEST_PLUGIN_ID="..."              the plug-in id (required)
//   TEST_PLUGIN_DEPENDENCY="..."      one dependency
//   TEST_PLUGIN_INIT_RESULT=n         what init() returns (default 0)
//   TEST_PLUGIN_WRONG_MAGIC, TEST_PLUGIN_OLD_HOST, TEST_PLUGIN_OTHER_BUILD_FLAGS   a bad descriptor
//   TEST_PLUGIN_WITHOUT_CREATE        no tarnwickCreatePlugin
#include "TestPlugin.h"

#include <TarnwickLib/Plugin/HostVersion.h>
#include <TarnwickLib/Plugin/PluginAutoRegistrationGuard.h>

#ifndef TEST_PLUGIN_INIT_RESULT
#define TEST_PLUGIN_INIT_RESULT 0
#endif

#if defined(TEST_PLUGIN_WRONG_MAGIC)
#define TEST_PLUGIN_DESCRIPTOR                                                                                         \
    "__OTHER_MAGIC__|hostversion=4.5.0|buildflags=GLIBCXX_DEBUG:_GLIBCXX_DEBUG|pluginversion="
#elif defined(TEST_PLUGIN_OLD_HOST)
#define TEST_PLUGIN_DESCRIPTOR                                                                                         \
    "__TARNWICK_PLUGIN_V2_MAGIC_STRING__|hostversion=4.4.2|buildflags=GLIBCXX_DEBUG:_GLIBCXX_DEBUG|"                   \
    "pluginversion="
#elif defined(TEST_PLUGIN_OTHER_BUILD_FLAGS)
#define TEST_PLUGIN_DESCRIPTOR "__TARNWICK_PLUGIN_V2_MAGIC_STRING__|hostversion=4.5.0|buildflags=NONE|pluginversion="
#else
#define TEST_PLUGIN_DESCRIPTOR TARNWICK_PLUGIN_DESCRIPTOR "1.2"
#endif

TARNWICK_PLUGIN_EXPORT const char* tarnwickPluginId() {
    return TEST_PLUGIN_ID;
}

extern "C" {
__attribute__((visibility("default"))) const char* tarnwickPluginDescriptor = TEST_PLUGIN_DESCRIPTOR;
}

#ifndef TEST_PLUGIN_WITHOUT_CREATE
TARNWICK_PLUGIN_EXPORT Tarnwick::PluginBase* tarnwickCreatePlugin() {
#ifdef TEST_PLUGIN_DEPENDENCY
    return new Tarnwick::Test::TestPlugin(TEST_PLUGIN_ID, TEST_PLUGIN_INIT_RESULT, {TEST_PLUGIN_DEPENDENCY});
#else
    return new Tarnwick::Test::TestPlugin(TEST_PLUGIN_ID, TEST_PLUGIN_INIT_RESULT, {});
#endif
}
#endif

static Tarnwick::PluginAutoRegistrationGuard announcement(&tarnwickPluginId);
