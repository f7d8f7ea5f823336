#include "platform/PlatformServices.h"
