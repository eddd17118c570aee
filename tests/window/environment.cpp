#include "support/headless_environment.h"
