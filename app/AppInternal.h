// All of what the source files of the poster share.
#pragma once

#include "app/AppBodyWriter.h"
#include "app/AppClock.h"
#include "app/AppHeadFormat.h"
#include "app/AppHostSystem.h"
#include "app/AppPause.h"
#include "app/AppPlaces.h"
#include "app/AppPost.h"
#include "app/AppPostConfig.h"
#include "app/AppPostDevice.h"
#include "app/AppPostEncoding.h"
#include "app/AppPostFields.h"
#include "app/AppPostQuery.h"
#include "app/AppPostQueue.h"
#include "app/AppPostReply.h"
#include "app/AppPostTables.h"
#include "app/AppText.h"
