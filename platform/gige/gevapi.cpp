#include "gevapi.h"
