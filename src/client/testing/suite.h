// What every test of the client stands on.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "client/request.h"
#include "client/stamp.h"
#include "client/testing/authority.h"
#include "client/testing/configuration.h"
#include "client/testing/loopback_server.h"
#include "client/testing/stores.h"
