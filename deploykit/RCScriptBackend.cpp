#include "deploykit/RCScriptBackend.h"
