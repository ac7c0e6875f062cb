// libgstvask.so: speech detection and noise reduction for GStreamer.
#include "plugin.h"

#include <gst/audio/audio.h>

GST_DEBUG_CATEGORY(vask_debug);

// Interleaved, of the rates that streams take and up to eight channels; the order of bytes is the machine's.
#define AUDIO_CAPS \
  "audio/x-raw, format = (string) { " GST_AUDIO_NE(S16) ", " GST_AUDIO_NE(F32) " }, "                 \
  "rate = (int) { 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000 }, "                   \
  "channels = (int) [ 1, 8 ], layout = (string) interleaved"

void vask_add_pad_templates(GstElementClass* element) {
  static GstStaticPadTemplate sink =
      GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_STATIC_CAPS(AUDIO_CAPS));
  static GstStaticPadTemplate source =
      GST_STATIC_PAD_TEMPLATE("src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(AUDIO_CAPS));
  gst_element_class_add_static_pad_template(element, &sink);
  gst_element_class_add_static_pad_template(element, &source);
}

static gboolean InitPlugin(GstPlugin* plugin) {
  GST_DEBUG_CATEGORY_INIT(vask_debug, "vask", 0, "Speech detection and noise reduction");
  return GST_ELEMENT_REGISTER(vaskdetect, plugin) && GST_ELEMENT_REGISTER(vaskdenoise, plugin) ? TRUE : FALSE;
}

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, vask, "Speech detection and noise reduction",
                  InitPlugin, PACKAGE_VERSION, "MIT/X11", PACKAGE, GST_PACKAGE_ORIGIN)
