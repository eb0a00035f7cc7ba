#include "integration/SetupContext.h"
