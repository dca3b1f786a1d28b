// BASALT_API marks what a platform library exports. Everything else in it is hidden.
#pragma once

#define BASALT_API __attribute__((visibility("default")))
