#pragma once
#include "Lower/Low.h"
