// Marks the one symbol the plug-in library exports.
#ifndef QUILLON_HOST_PLUGIN_PLUGINEXPORT_H
#define QUILLON_HOST_PLUGIN_PLUGINEXPORT_H

#if defined(_WIN32)
#define QUILLON_PLUGIN_EXPORT __declspec(dllexport)
#else
#define QUILLON_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

#endif  // QUILLON_HOST_PLUGIN_PLUGINEXPORT_H
