"""A server whose pages a test writes, for what chronoseal-tsa doesn't do."""

import http.server
import ssl
import threading
import urllib.parse
import urllib.request


def passed_on(url, body):
    """What a real authority says to the request, as a page gives it."""
    request = urllib.request.Request(url, body, {"Content-Type": "application/timestamp-query"})
    with urllib.request.urlopen(request) as answer:
        return 200, {"Content-Type": "application/timestamp-reply"}, answer.read()


class Handler(http.server.BaseHTTPRequestHandler):
    """Each path is a page: a function of the request's body that gives status, headers and content, or what is written in
    the place of a whole answer, piece by piece."""

    protocol_version = "HTTP/1.1"

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        self.server.headers = self.headers
        answer = self.server.pages[urllib.parse.urlsplit(self.path).path.strip("/")](body)  # a proxy sees all of it
        if not isinstance(answer, tuple):
            self.close_connection = True
            for piece in answer:
                self.wfile.write(piece)
            return
        status, headers, content = answer
        self.send_response(status)
        for name, value in {**headers, "Content-Length": len(content), "Connection": "close"}.items():
            self.send_header(name, str(value))
        self.end_headers()
        self.wfile.write(content)

    def log_message(self, *_):
        pass


class PageServer(http.server.ThreadingHTTPServer):
    """On loopback, over TLS where it has an identity; certificates of `clients` it then asks for."""

    def __init__(self, pages, identity=None, pem=None, clients=None):
        super().__init__(("127.0.0.1", 0), Handler)
        self.pages = pages
        if identity:
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(pem, identity.key.path)
            if clients:
                context.verify_mode = ssl.CERT_REQUIRED
                context.load_verify_locations(clients)
            self.socket = context.wrap_socket(self.socket, server_side=True, do_handshake_on_connect=False)
        self.url = f"http{'s' if identity else ''}://127.0.0.1:{self.server_address[1]}/"
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def handle_error(self, *_):
        pass  # a client that hangs up over our certificate

    def close(self):
        self.shutdown()
        self.server_close()
