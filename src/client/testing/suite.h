// What every test of the client stands on.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <chronoseal/client/request.h>
#include <chronoseal/client/stamp.h>
#include <chronoseal/client/testing/authority.h>
#include <chronoseal/client/testing/configuration.h>
#include <chronoseal/client/testing/loopback_server.h>
#include <chronoseal/client/testing/stores.h>
