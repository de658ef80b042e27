// MHTTPStream: one HTTP/1.0 exchange over its own TCP connection.
//
// Open(url) (or OpenGet / OpenPost) connects; AddHeader adds request headers;
// Send(redirects) writes the request and reads the reply header, and the caller
// then reads the body with plain Read until the server closes the connection
// (Read answers 0 or -1 and IsDisconnected() turns true). No TLS, no proxy, no
// chunked bodies, no keep-alive, no time-outs.
//
// The request goes out with single line feeds, exactly:
//   GET <URLEncodePath(path)>[?<query as given>] HTTP/1.0      (or POST <path> with
//   Content-Type: application/x-www-form-urlencoded and Content-Length: <n>)
//   Host: <host>:<port>
//   Connection: Close
//   <each request header as "name: value">
//   <empty line>, then the POST body if any.
// The reply header is read one byte at a time, so the first Read after Send gets
// the first byte of the body. A header line or the header as a whole past its cap
// (kMaxReplyHeaderLine, kMaxReplyHeader) fails as a read of the header does, and a
// Content-Length that is not plain decimal digits within 64 bits as an invalid
// line. Send answers true for a 2xx status; a 3xx with redirects left follows
// "Location" (a full URL, a path from the root when it starts with "/", else a
// path relative to the current folder) on a new connection, keeping the request
// headers.
//
// A URL is [scheme://]host[:port][/path][?query]; the scheme is ignored, a missing
// or zero port is 80, a missing path "/". A port past 65535 or below 0 throws
// "Invalid port in URL \"{0}\"." (code 513) with the URL.
//
// Failures: the socket stream's and the resolver's (code 512), and with code 513
// "Invalid HTTP reply header.", "Invalid HTTP reply header line.", "MHTTPStream
// reading HTTP reply header.", "MHTTPStream invalid HTTP reply header line.",
// "Requested HTTP header not found.". A status other than 2xx is no failure.
//
// One object serves one exchange at a time; Open again after Close (or on a new
// object). It belongs to the thread that uses it.
#pragma once

#include <cstdint>
#include <memory>

#include "foundation/containers/containers.h"
#include "foundation/streams/memory_stream.h"
#include "foundation/text/text_io.h"
#include "foundation/containers/variant.h"
#include "transfer/http_header_budget.h"
#include "transfer/http_headers.h"
#include "transfer/socket_stream.h"

namespace kx {

// One named value of a GET query or POST form.
struct MHTTPParameter {
  MString name;
  MVariant value;
};

class MHTTPStream : public MSocketStream {
 public:
  static constexpr uint16_t kDefaultPort = 80;
  enum class Mode { kModeGet, kModePost };
  using enum Mode;
  // Caps on the reply header, near what servers accept of a request: bytes of one
  // line before its line feed, and bytes of the whole header with its line ends.
  static constexpr int32_t kMaxReplyHeaderLine = 16 * 1024;
  static constexpr int32_t kMaxReplyHeader = 64 * 1024;

  MHTTPStream() = default;
  ~MHTTPStream() override;

  // A GET of a full URL; a "?" in the path starts the query, sent as it is.
  void Open(const MString& url);
  // A GET of `path` on `host` (anything up to "//" in it dropped) with the
  // parameters as query "name=value&..." (values by URLEncode, names as they are).
  void OpenGet(const MString& host, const MString& path, const MArray<MHTTPParameter>* parameters,
               uint16_t port = kDefaultPort);
  // The same as a POST, the joined parameters being the UTF-8 body; null
  // parameters send no body.
  void OpenPost(const MString& host, const MString& path, const MArray<MHTTPParameter>* parameters,
                uint16_t port = kDefaultPort);

  // Appends a request header; a name or value holding CR or LF throws
  // "Line break in HTTP request header \"{0}\"." (code 2) with the name.
  void AddHeader(const MString& name, const MString& value);
  bool Send(int32_t redirects);

  // The value of a reply header; throws "Requested HTTP header not found." (513).
  void GetHeader(const MString& name, MString& result) const;
  int32_t GetStatusCode() const { return statusCode_; }
  const MString& GetStatusLine() const { return statusLine_; }
  // The reply's Content-Length, 0 when it gave none.
  int64_t GetSize() override { return contentLength_; }
  // Stores one reply header; called for each header line, in order.
  virtual void AddReplyHeader(const MString& name, const MString& value);

  const MString& GetHost() const { return host_; }
  const MString& GetPath() const { return path_; }
  const MString& GetQuery() const { return query_; }
  uint16_t GetPort() const { return port_; }
  const MHTTPHeaderList& GetReplyHeaders() const { return replyHeaders_; }

  // host, path and port of a URL (see above); the path keeps any "?".
  static void SplitURL(const MString& url, MString& host, MString& path, uint16_t& port);
  // For the request line: every unit whose low byte, as a signed byte, is below
  // 33 (blanks, controls, bytes with the top bit) becomes "%XX"; the rest stays.
  static MString URLEncodePath(const MString& text);
  // For parameter values: all but a-z, A-Z, 0-9 become "%XX" of their low byte.
  static MString URLEncode(const MString& text);

 private:
  void ConnectToHost();
  void SetTarget(const MString& host, const MString& path, uint16_t port);
  void StartExchange(Mode mode);
  void WriteRequest();
  bool ReadHeaderLine(MString& line);
  void ReadReplyHeader();

  std::unique_ptr<MTextWriter> writer_;
  std::unique_ptr<MHTTPHeaderBudget> headerSource_;  // under reader_
  std::unique_ptr<MTextReader> reader_;
  MHTTPHeaderList requestHeaders_;
  MHTTPHeaderList replyHeaders_;
  MString host_;
  MString path_;
  MString query_;
  uint16_t port_ = kDefaultPort;
  MMemoryStream postBody_;
  int64_t bodySize_ = 0;
  int64_t contentLength_ = 0;
  int32_t statusCode_ = -1;
  MString statusLine_;
  Mode mode_ = kModeGet;
};

}  // namespace kx
