"""What the Redfish parts of script/bench start and send, beside the real daemon. Without nginx and
wrk, which only script/bench needs, the tests with them are skipped and say so."""

import contextlib
import pathlib
import shutil
import socket
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "benchmarks"))

import redfish_parts  # noqa: E402
import web_servers  # noqa: E402
from stack import BUILT, Failure, Stack  # noqa: E402

HAS_NGINX = shutil.which("nginx") or web_servers.UNPACKED_NGINX.exists()
HAS_WRK = shutil.which("wrk")


@unittest.skipUnless((BUILT / "orvane-redfish").exists(), "orvane-redfish is not built")
class WebServers(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.stack = cls.enterClassContext(Stack("all"))
        cls.enterClassContext(cls.stack.daemon(1))
        cls.clear = cls.enterClassContext(web_servers.front(cls.stack, "front", True))
        cls.encrypted = cls.enterClassContext(web_servers.front(cls.stack, "front-tls", False))

    def stranger(self, server):
        return web_servers.WebServer(server.process, server.port, server.is_clear, "no token")

    def test_each_stream_gets_an_event(self):
        for server in (self.clear, self.encrypted):
            with contextlib.closing(socket.socket(socket.AF_UNIX)) as store, \
                    web_servers.Streams(server, 5) as streams:
                store.connect(str(self.stack.socket))
                for _ in range(2):
                    times = streams.times_of(*redfish_parts.send_event(store))
                    self.assertEqual(len(times), 5)
                    self.assertGreater(min(times), 0)

    def test_a_stream_that_is_refused_is_no_stream(self):
        with self.assertRaisesRegex(Failure, "401"):
            with web_servers.Streams(self.stranger(self.clear), 1):
                pass

    @unittest.skipUnless(HAS_NGINX, "no nginx: script/bootstrap --bench")
    def test_nginx_serves_the_bytes_and_the_headers_of_the_resource(self):
        headers, content = self.clear.ask("GET", web_servers.WEBGUI)
        with web_servers.nginx(self.stack, headers, content,
                               web_servers.state_of(self.stack, "front-tls")) as servers:
            for server in servers:
                its_headers, its_content = server.ask("GET", web_servers.WEBGUI)
                self.assertEqual(its_content, content)
                self.assertLessEqual({name.lower() for name in headers},
                                     {name.lower() for name in its_headers})

    @unittest.skipUnless(HAS_WRK, "no wrk: script/bootstrap --bench")
    def test_a_load_counts_answers_and_sees_refusals(self):
        for server in (self.clear, self.encrypted):
            figures = redfish_parts.measured(server, 8, 1)
            self.assertGreater(figures["requests"], 8)
            self.assertGreaterEqual(figures["p99"], figures["p50"])
            self.assertGreater(figures["processor"], 0)
        with self.assertRaisesRegex(Failure, "failed"):
            web_servers.wrk(self.stranger(self.clear), 1, 1)

    @unittest.skipUnless(HAS_WRK, "no wrk: script/bootstrap --bench")
    def test_a_load_of_changes_changes_the_setting(self):
        before = redfish_parts.calls_of(self.stack, "xadd")
        figures = web_servers.wrk(self.clear, 1, 1, "changes")
        # Every change is told as an event; the last one may have been cut off.
        told = redfish_parts.calls_of(self.stack, "xadd") - before
        self.assertGreaterEqual(told, figures["requests"])
        self.assertLessEqual(told, figures["requests"] + 1)


if __name__ == "__main__":
    unittest.main()
