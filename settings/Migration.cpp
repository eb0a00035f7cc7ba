#include "settings/Migration.h"
