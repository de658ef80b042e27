// The HTTP client in one include: network addresses, the TCP socket stream and
// the HTTP/1.0 stream on top of it.
#pragma once

#include "transfer/http_headers.h"
#include "transfer/http_stream.h"
#include "transfer/network_address.h"
#include "transfer/socket_stream.h"
