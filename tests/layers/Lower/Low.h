#pragma once
#include <GL/gl.h>
#include "Upper/Up.h"
