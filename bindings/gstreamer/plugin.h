// The elements of this plugin.
#pragma once

#include <gst/base/gstbasetransform.h>

// The category that GST_DEBUG=vask:5 shows.
GST_DEBUG_CATEGORY_EXTERN(vask_debug);
#define GST_CAT_DEFAULT vask_debug

G_BEGIN_DECLS

// Passes audio through and says where speech is.
G_DECLARE_FINAL_TYPE(VaskDetect, vask_detect, VASK, DETECT, GstBaseTransform)
GST_ELEMENT_REGISTER_DECLARE(vaskdetect)

// Reduces the noise in audio.
G_DECLARE_FINAL_TYPE(VaskDenoise, vask_denoise, VASK, DENOISE, GstBaseTransform)
GST_ELEMENT_REGISTER_DECLARE(vaskdenoise)

// Of both: a sink and a source for the audio that streams take.
void vask_add_pad_templates(GstElementClass* element);

G_END_DECLS
