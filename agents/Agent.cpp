#include "agents/Agent.h"
