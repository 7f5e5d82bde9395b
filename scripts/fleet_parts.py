"""What scripts/fleet-kills and scripts/fleet-figures start: brokers, gateway, simulated sensors and a subscriber, all
on loopback and in a folder of their own."""
import json
import os
import re
import signal
import socket
import subprocess
import time

# As in docs/fleet/mosquitto.conf, but without TLS and users. `user root` counts only for root: mosquitto would not be
# allowed into our folder otherwise.
MOSQUITTO = """listener {port} 127.0.0.1
allow_anonymous true
persistence true
persistence_location {folder}/
max_queued_messages 100000
max_inflight_messages 200
set_tcp_nodelay true
user root
"""
# Everything that it has acknowledged, and who has subscribed, is to outlive the broker.
KEPT_AT_ONCE = """autosave_on_changes true
autosave_interval 1
"""
NATS = """server_name: n{number}
listen: "127.0.0.1:{client}"
jetstream {{ store_dir: "{folder}/n{number}" }}
mqtt {{ listen: "127.0.0.1:{port}", stream_replicas: 3, consumer_replicas: 3, max_ack_pending: 1000 }}
cluster {{ name: fleet, listen: "127.0.0.1:{route}", routes: [{routes}] }}
"""


def free_ports(count):
    held = [socket.socket() for _ in range(count)]
    for one in held:
        one.bind(("127.0.0.1", 0))
    ports = [one.getsockname()[1] for one in held]
    for one in held:
        one.close()
    return ports


def wait_for(condition, seconds, what):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise RuntimeError(f"{what}: nothing within {seconds} s")
        time.sleep(0.05)


def listens(port):
    with socket.socket() as one:
        return one.connect_ex(("127.0.0.1", port)) == 0


class Part:
    """A program that is started, killed and started again. What it says goes to a log."""

    def __init__(self, command, log):
        self.command, self.log, self.process = command, log, None

    def start(self):
        with open(self.log, "ab") as log:
            # Not with Ctrl+C, but in their order by Site.end().
            self.process = subprocess.Popen(self.command, stdout=log, stderr=log, stdin=subprocess.DEVNULL,
                                            start_new_session=True)

    def has_died(self):
        return self.process is not None and self.process.poll() is not None

    def stop(self, how=signal.SIGTERM, seconds=20):
        if self.process is None:
            return None
        self.process.send_signal(how)
        try:
            return self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            self.process.kill()
            return self.process.wait()
        finally:
            self.process = None

    def kill(self):
        self.stop(signal.SIGKILL)


class Site:
    def __init__(self, binaries, folder, sensors, rate_Hz=20):
        self.binaries, self.folder, self.sensors = binaries, folder, sensors
        self.names = [f"s{i + 1:03d}" for i in range(sensors)]
        self.brokers, self.ports = [], []
        self.rate_Hz = rate_Hz
        os.makedirs(folder)

    def path(self, *parts):
        return os.path.join(self.folder, *parts)

    def part(self, name, *command):
        return Part([str(word) for word in command], self.path(name + ".log"))

    # --- the parts --------------------------------------------------------------------------------------------------

    def start_mosquitto(self, keeps_at_once=False):
        self.ports = free_ports(1)
        os.makedirs(self.path("mosquitto"))
        with open(self.path("mosquitto.conf"), "w") as file:
            file.write(MOSQUITTO.format(port=self.ports[0], folder=self.path("mosquitto")))
            file.write(KEPT_AT_ONCE if keeps_at_once else "")
        self.brokers = [self.part("broker", "mosquitto", "-c", self.path("mosquitto.conf"))]
        self.start_brokers()

    def start_cluster(self):
        ports = free_ports(9)
        self.ports = ports[:3]
        routes = ", ".join(f'"nats-route://127.0.0.1:{port}"' for port in ports[6:])
        for i in range(3):
            with open(self.path(f"nats-{i + 1}.conf"), "w") as file:
                file.write(NATS.format(number=i + 1, client=ports[3 + i], port=ports[i], route=ports[6 + i],
                                       routes=routes, folder=self.folder))
            self.brokers.append(self.part(f"broker-{i + 1}", "nats-server", "-c", self.path(f"nats-{i + 1}.conf")))
        self.start_brokers()
        time.sleep(3)  # they choose a leader

    def start_brokers(self):
        for broker, port in zip(self.brokers, self.ports):
            broker.start()
        for port in self.ports:
            wait_for(lambda: listens(port), 60, f"broker on port {port}")

    def hosts(self):
        return ",".join(f"127.0.0.1:{port}" for port in self.ports)

    def start_sensors(self, more=0):
        """With so many that the gateway does not know."""
        self.simulation = self.part("sensors", self.binaries + "/rvqsim", "--many", self.sensors + more, "--link",
                                    self.path("line"), "--log", self.path("sent"), "--count", "--values", self.rate_Hz)
        self.simulation.start()
        last = self.path("line", f"s{self.sensors + more:03d}")
        wait_for(lambda: os.path.exists(last), 60, "simulated sensors")

    def start_subscriber(self, *options):
        self.report = self.path("report.json")
        command = [self.binaries + "/orvex_fleet_subscriber", "--hosts", self.hosts(), "--gateway", "plant", "--ready",
                   self.path("ready"), *options]
        with open(self.report, "w") as report, open(self.path("subscriber.log"), "w") as log:
            self.subscriber = Part([str(word) for word in command], None)
            self.subscriber.process = subprocess.Popen(self.subscriber.command, stdout=report, stderr=log,
                                                       stdin=subprocess.DEVNULL, start_new_session=True)
        wait_for(lambda: os.path.exists(self.path("ready")), 60, "subscription")

    def write_configuration(self, measures=True):
        with open(self.path("gateway.ini"), "w") as file:
            file.write(f"[GATEWAY]\nName=plant\nFolder={self.path('gateway')}\n\n[BROKER]\nHost={self.hosts()}\n")
            for name in self.names:
                file.write(f"\n[SENSOR {name}]\nPort={self.path('line', name)}\n"
                           f"Measure={'yes' if measures else 'no'}\n")

    def start_gateway(self):
        self.write_configuration()
        self.gateway = self.part("gateway", self.binaries + "/rvqd", "--config", self.path("gateway.ini"))
        self.gateway.start()

    def are_all_recording(self):
        return all(self.recordings(name) for name in self.names)

    def stop_subscriber(self):
        self.subscriber.stop(signal.SIGTERM)
        with open(self.report) as file:
            return json.load(file)

    def end(self):
        """The gateway first: it stops its sensors."""
        for name in ("gateway", "subscriber", "simulation"):
            part = getattr(self, name, None)
            if part is not None:
                part.stop()
        for broker in self.brokers:
            broker.stop()

    # --- what they leave --------------------------------------------------------------------------------------------

    def recordings(self, name):
        """All files of a sensor as (run, number of the first line, part, path), in the order in which they were
        recorded; the parts of a recording have the number of the first one."""
        folder = self.path("gateway", "REC", name)
        found = []
        for file in os.listdir(folder) if os.path.isdir(folder) else []:
            parts = re.fullmatch(r"Run (\d+) from (\d+)(?: \((\d+)\))?\.rec", file)
            if parts:
                found.append((int(parts[1]), int(parts[2]), int(parts[3] or 1), os.path.join(folder, file)))
        return sorted(found)

    def recorded(self, name):
        """The values as {(run, number): distance, or None for another kind}: whole lines only."""
        values, number = {}, 0
        for run, first, part, path in self.recordings(name):
            number = first - 1 if part == 1 else number
            with open(path, encoding="latin-1", newline="") as file:
                for line in file:
                    parts = re.fullmatch(r"[\d. :,]+; *(?:(-?\d+) mm|[^;]*);[^;]*\n", line)
                    if parts:
                        number += 1
                        values[run, number] = int(parts[1]) if parts[1] else None
        return values

    def sent(self, name):
        """The distances that were taken from the line."""
        with open(self.path("sent", name + ".log"), encoding="latin-1") as file:
            rows = [line.rstrip("\n").split(";") for line in file][1:]
        return [int(row[3].split()[0]) for row in rows if row[0] and row[4] == ""]
