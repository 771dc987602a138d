"""An S3-compatible server on loopback for the remote-location tests.

Starts moto's server on 127.0.0.1 (a free port) and, in front of it, a TCP
relay whose link can be cut and restored: cutting it is, for a client, the
server going away in the middle of a request, while the objects stay in
moto for the test to inspect afterwards.

Prints "READY <server port> <relay port>" and then obeys lines on stdin:
"cut" (close the relay and every connection through it; new connections are
refused), "restore" (listen again on the same port), "count" (prints
"COUNT <GET> <HEAD> <other>": the requests served since the last count),
"quit". End of input also quits.
"""
import collections
import socket
import sys
import threading

from moto.server import DomainDispatcherApplication, MotoRequestHandler, create_backend_app
from moto.server import ThreadedMotoServer
from werkzeug.serving import make_server

requests = collections.Counter()
requests_lock = threading.Lock()


class CountingServer(ThreadedMotoServer):
    """moto's threaded server with every request counted by method."""

    def _server_entry(self):
        app = DomainDispatcherApplication(create_backend_app)

        def counting(environ, start_response):
            with requests_lock:
                requests[environ["REQUEST_METHOD"]] += 1
            return app(environ, start_response)

        self._server = make_server(
            self._ip_address, self._port, counting, True, request_handler=MotoRequestHandler
        )
        self._server_ready_event.set()
        self._server.serve_forever()


class Relay:
    def __init__(self, target_port):
        self.target_port = target_port
        self.port = None
        self.listener = None
        self.connections = []
        self.lock = threading.Lock()
        self.listen()

    def listen(self):
        listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        listener.bind(("127.0.0.1", self.port or 0))
        listener.listen(64)
        self.port = listener.getsockname()[1]
        self.listener = listener
        threading.Thread(target=self.accept, args=(listener,), daemon=True).start()

    def accept(self, listener):
        while True:
            try:
                client, _ = listener.accept()
            except OSError:
                return
            try:
                server = socket.create_connection(("127.0.0.1", self.target_port))
            except OSError:
                client.close()
                continue
            with self.lock:
                self.connections += [client, server]
            threading.Thread(target=self.pipe, args=(client, server), daemon=True).start()
            threading.Thread(target=self.pipe, args=(server, client), daemon=True).start()

    @staticmethod
    def pipe(source, sink):
        try:
            while True:
                data = source.recv(65536)
                if not data:
                    break
                sink.sendall(data)
        except OSError:
            pass
        for s in (source, sink):
            try:
                s.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass

    def cut(self):
        # shutdown() wakes the thread blocked in accept(); close() alone
        # would leave the socket listening until that call returns.
        try:
            self.listener.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        self.listener.close()
        with self.lock:
            connections, self.connections = self.connections, []
        for s in connections:
            try:
                s.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass
            s.close()


def main():
    server = CountingServer(ip_address="127.0.0.1", port=0, verbose=False)
    server.start()
    port = server.get_host_and_port()[1]
    relay = Relay(port)
    print(f"READY {port} {relay.port}", flush=True)
    for line in sys.stdin:
        command = line.strip()
        if command == "cut":
            relay.cut()
        elif command == "restore":
            relay.listen()
        elif command == "count":
            with requests_lock:
                get, head = requests["GET"], requests["HEAD"]
                other = sum(requests.values()) - get - head
                requests.clear()
            print(f"COUNT {get} {head} {other}", flush=True)
            continue
        elif command == "quit":
            break
        print(f"DONE {command}", flush=True)
    relay.cut()
    server.stop()


if __name__ == "__main__":
    main()
