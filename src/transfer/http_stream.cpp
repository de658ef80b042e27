#include "transfer/http_stream.h"

#include "foundation/text/ascii_chars.h"
#include "foundation/text/codecs.h"
#include "foundation/text/number_text.h"
#include "foundation/core/exception.h"
#include "foundation/text/format.h"
#include "foundation/files/path_text.h"
#include "foundation/streams/stream_helpers.h"

namespace kx {
namespace {

[[noreturn]] void ThrowProtocol(const char* message) {
  throw MException(MString(message), kErrorHTTP);
}

void AppendEscaped(MString& out, MChar unit) {
  const unsigned byte = unit & 0xFF;
  out.Append(MChar('%'));
  out.Append(static_cast<MChar>(HexDigit(byte >> 4)));
  out.Append(static_cast<MChar>(HexDigit(byte)));
}

// The leading decimal digits of `text` from `from` on: their count, and in `value`
// the number they make; false when that passes `limit` (no wrapping to a small one).
bool ParseDigits(const MString& text, int32_t from, int64_t limit, int64_t& value,
                 int32_t& digits) {
  value = 0;
  for (digits = 0; from + digits < text.Length() && IsAsciiDigit(text[from + digits]); ++digits) {
    int64_t digit = text[from + digits] - '0';
    if (value > (limit - digit) / 10) return false;
    value = value * 10 + digit;
  }
  return true;
}

bool HoldsLineBreak(const MString& text) {
  return text.FindChar('\n') >= 0 || text.FindChar('\r') >= 0;
}

MString JoinParameters(const MArray<MHTTPParameter>* parameters) {
  MString joined;
  if (!parameters) return joined;
  for (int32_t i = 0; i < parameters->count; ++i) {
    const MHTTPParameter& parameter = parameters->data[i];
    if (i > 0) joined.Append(MChar('&'));
    joined.Append(parameter.name);
    joined.Append(MChar('='));
    joined.Append(MHTTPStream::URLEncode(parameter.value.AsString()));
  }
  return joined;
}

}  // namespace

MHTTPStream::~MHTTPStream() = default;

// ---------------------------------------------------------------- URL text

void MHTTPStream::SplitURL(const MString& url, MString& host, MString& path, uint16_t& port) {
  MString rest = url;
  int32_t scheme = rest.Find("://");
  if (scheme >= 0) rest = rest.Mid(scheme + 3);  // any scheme is tried as plain HTTP
  int32_t slash = rest.FindChar('/');
  if (slash >= 0) {
    host = rest.Left(slash);
    path = rest.Mid(slash);
  } else {
    host = rest;
    path = "/";
  }
  port = kDefaultPort;
  int32_t colon = host.FindChar(':');
  if (colon >= 0) {
    // Digits, as many as there are: none or 0 is the default port. A port past
    // 65535, or a negative one, would wrap onto another port, so it is refused.
    int32_t from = colon + 1;
    bool negative = from < host.Length() && host[from] == '-';
    int64_t number = 0;
    int32_t digits = 0;
    if (!ParseDigits(host, from + (negative ? 1 : 0), 65535, number, digits) ||
        (negative && number != 0)) {
      throw MException(MFormat("Invalid port in URL \"{0}\".").Add(url), kErrorHTTP);
    }
    host = host.Left(colon);
    if (number != 0) port = static_cast<uint16_t>(number);
  }
}

MString MHTTPStream::URLEncodePath(const MString& text) {
  MString out;
  for (int32_t i = 0; i < text.Length(); ++i) {
    MChar unit = text[i];
    if (static_cast<int8_t>(unit & 0xFF) < 33)
      AppendEscaped(out, unit);
    else
      out.Append(unit);
  }
  return out;
}

MString MHTTPStream::URLEncode(const MString& text) {
  MString out;
  for (int32_t i = 0; i < text.Length(); ++i) {
    MChar unit = text[i];
    if (IsAsciiLetterOrDigit(unit))
      out.Append(unit);
    else
      AppendEscaped(out, unit);
  }
  return out;
}

// ---------------------------------------------------------------- opening

void MHTTPStream::ConnectToHost() {
  Create();
  GetRemoteAddress().Resolve(host_);
  Connect(port_);
  SetBlocking(true);
}

void MHTTPStream::StartExchange(Mode mode) {
  statusCode_ = -1;
  mode_ = mode;
  ConnectToHost();
  postBody_.Clear();
  bodySize_ = 0;
}

void MHTTPStream::Open(const MString& url) {
  SplitURL(url, host_, path_, port_);
  StartExchange(kModeGet);
  int32_t mark = path_.FindChar('?');
  if (mark >= 0) {
    query_ = path_.Mid(mark + 1);
    path_ = path_.Left(mark);
  } else {
    query_.Clear();
  }
}

// A scheme in front of the host ("http://") is dropped; port 0 means the default.
void MHTTPStream::SetTarget(const MString& host, const MString& path, uint16_t port) {
  int32_t slashes = host.Find("//");
  host_ = slashes >= 0 ? host.Mid(slashes + 2) : host;
  path_ = path;
  port_ = port != 0 ? port : kDefaultPort;
}

void MHTTPStream::OpenGet(const MString& host, const MString& path,
                          const MArray<MHTTPParameter>* parameters, uint16_t port) {
  SetTarget(host, path, port);
  StartExchange(kModeGet);
  query_ = JoinParameters(parameters);
}

void MHTTPStream::OpenPost(const MString& host, const MString& path,
                           const MArray<MHTTPParameter>* parameters, uint16_t port) {
  SetTarget(host, path, port);
  StartExchange(kModePost);
  query_.Clear();
  if (parameters) {
    postBody_.WriteString(JoinParameters(parameters));
    bodySize_ = postBody_.GetSize();
  }
}

void MHTTPStream::AddHeader(const MString& name, const MString& value) {
  // A line break would end the header line early and start one of the caller's
  // making (or the server's, when the text came from outside).
  if (HoldsLineBreak(name) || HoldsLineBreak(value)) {
    throw MException(MFormat("Line break in HTTP request header \"{0}\".").Add(name),
                     kErrorInvalidArgument);
  }
  requestHeaders_.Add(name, value);
}

// ---------------------------------------------------------------- the exchange

void MHTTPStream::WriteRequest() {
  MTextWriter& writer = *writer_;
  MString target = URLEncodePath(path_);
  if (mode_ == kModePost) {
    writer.Write(MFormat("POST {0} HTTP/1.0\n").Add(target));
    writer.Write("Content-Type: application/x-www-form-urlencoded\n");
    writer.Write(MFormat("Content-Length: {0}\n").Add(bodySize_));
  } else {
    if (!query_.IsEmpty()) {
      target.Append(MChar('?'));
      target.Append(query_);  // the caller's query goes out as it came
    }
    writer.Write(MFormat("GET {0} HTTP/1.0\n").Add(target));
  }
  // The port is always named, also the default one.
  writer.Write(MFormat("Host: {0}:{1}\n").Add(host_).Add(port_));
  writer.Write("Connection: Close\n");
  for (int32_t i = 0; i < requestHeaders_.Count(); ++i) {
    const MXMLAttribute& header = requestHeaders_[i];
    writer.Write(MFormat("{0}: {1}\n").Add(header.name.text).Add(header.value.AsString()));
  }
  writer.Write("\n");
}

// A line past the caps of the header reads as a failed read: the reader was cut off.
bool MHTTPStream::ReadHeaderLine(MString& line) {
  return reader_->ReadLine(line) && !headerSource_->Exceeded();
}

void MHTTPStream::ReadReplyHeader() {
  MString line;
  if (!ReadHeaderLine(line)) ThrowProtocol("Invalid HTTP reply header.");
  int32_t blank = line.FindChar(' ');
  if (blank < 0) ThrowProtocol("Invalid HTTP reply header line.");
  // The version before the blank is not looked at: 1.0 and 1.1 replies read alike.
  statusCode_ = line.Mid(blank + 1, 3).ToInt();
  statusLine_ = line;
  statusLine_.Trim();

  contentLength_ = 0;
  replyHeaders_.Clear();
  for (;;) {
    if (!ReadHeaderLine(line)) ThrowProtocol("MHTTPStream reading HTTP reply header.");
    if (line.IsEmpty()) break;
    int32_t colon = line.FindChar(':');
    if (colon < 0) ThrowProtocol("MHTTPStream invalid HTTP reply header line.");
    MString name = line.Left(colon);
    MString value = line.Mid(colon + 1);
    name.Trim();
    value.Trim();
    AddReplyHeader(name, value);
    if (name.EqualsNoCase("Content-length")) {
      // Plain digits only: a sign, other text or a number past 64 bits would make
      // a size no body has.
      int64_t length = 0;
      int32_t digits = 0;
      if (!ParseDigits(value, 0, INT64_MAX, length, digits) || digits == 0 ||
          digits != value.Length()) {
        ThrowProtocol("MHTTPStream invalid HTTP reply header line.");
      }
      contentLength_ = length;
    }
  }
  replyHeaders_.Sort();
}

bool MHTTPStream::Send(int32_t redirects) {
  MCodec& utf8 = GetCodec("utf-8");
  writer_ = std::make_unique<MTextWriter>(*this, utf8);
  // One byte of buffer: the header is taken from the socket byte by byte, so not
  // one byte of the body is read ahead and lost to the caller's Read.
  // Through the budget, which cuts the header off at its caps.
  reader_.reset();
  headerSource_ = std::make_unique<MHTTPHeaderBudget>(*this, kMaxReplyHeaderLine, kMaxReplyHeader);
  reader_ = std::make_unique<MTextReader>(*headerSource_, utf8, 1);

  WriteRequest();
  writer_->Flush();
  writer_.reset();
  if (bodySize_ > 0) {
    postBody_.Seek(0, kSeekBegin);
    CopyStream(postBody_, *this, bodySize_);
  }

  ReadReplyHeader();

  if (redirects >= 1 && statusCode_ >= 300 && statusCode_ <= 399) {
    MString location;
    GetHeader("Location", location);
    if (location.Find("://") >= 0) {
      SplitURL(location, host_, path_, port_);
    } else if (location.StartsWith("/")) {
      path_ = location;  // an absolute path starts at the server's root
    } else {
      path_ = JoinPath(GetDirectory(path_), location);
      // A request target always starts at the root; the join drops the "/" when
      // the current folder is the root itself.
      if (!path_.StartsWith("/")) path_.Insert(0, "/");
    }
    query_.Clear();
    ConnectToHost();
    return Send(redirects - 1);
  }
  return statusCode_ >= 200 && statusCode_ <= 299;
}

void MHTTPStream::GetHeader(const MString& name, MString& result) const {
  const MXMLAttribute* header = replyHeaders_.Find(name);
  if (!header) ThrowProtocol("Requested HTTP header not found.");
  result = header->value.AsString();
}

void MHTTPStream::AddReplyHeader(const MString& name, const MString& value) {
  replyHeaders_.Add(name, value);
}

}  // namespace kx
