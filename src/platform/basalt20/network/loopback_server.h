// The tests' server, under the name that this room's tests knew it by.
#pragma once

#include <loopback/loopback_server.h>
