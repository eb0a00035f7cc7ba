#include "settings/Settings.h"
