// The soak helpers are defined in their header; built here on their own as well.
#include "SoakSupport.h"
