// The host's plug-in interface: everything plug-in code includes.
#pragma once

#include "c4d_basetime.h"
#include "c4d_bitmap.h"
#include "c4d_clipmap.h"
#include "c4d_container.h"
#include "c4d_customdata.h"
#include "c4d_general.h"
#include "c4d_math.h"
#include "c4d_nodedata.h"
#include "c4d_nodes.h"
#include "c4d_objects.h"
#include "c4d_videopost.h"
#include "c4d_render.h"
#include "c4d_resource.h"
#include "c4d_shader.h"
#include "c4d_string.h"
#include "c4d_types.h"
