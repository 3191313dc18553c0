#ifndef RBASE_H__
#define RBASE_H__

// The render settings as the attribute manager shows them.
enum
{
  RDATA_GROUP_OUTPUT = 100,
  RDATA_XRES = 5008,
  RDATA_YRES = 5009,
  RDATA_FRAMERATE = 5020,
  RDATA_ALPHACHANNEL = 5036,
  RDATA_STEREO = 8000,
};

#endif
