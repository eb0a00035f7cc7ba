#include "config/PathMacros.h"
