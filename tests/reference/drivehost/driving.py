"""Vehicles of a drive file, made, driven and looked at frame by frame."""

from carmodel.inputs import property_value
from vehiclemodel.rays import Mesh
from vehiclemodel.vehicle import CURVE, Vehicle

from . import dialog, placing
from .ground import Probe
from .inputs import CHANNELS, Tracks, channel_index
from .stage import Stage
from .target import TargetPath, lay_keys

FALL_PER_LENGTH = 900.0 / 4.0  # free fall per length at "Gravity" 1


class DrivenVehicle(Vehicle):
    """With a setting for each channel of how an axis becomes a value."""

    def __init__(self, scene):
        super().__init__(scene)
        self.channels = [{"exponent": CURVE} for _ in CHANNELS]

    def read_inputs(self):
        for channel, axis, setting in zip(self.car.pcInput, self.devices, self.channels):
            channel.raw = property_value(axis, setting.get("multiplier", 1.0), setting["exponent"],
                                         setting.get("deadZone", 0.1), setting.get("offset", 0.0))


class DrivenCar:
    """One vehicle of a drive, in a scene of its own with the ground that it drives on."""

    def __init__(self, drive, plan, grounds):
        self.name = plan["name"]
        self._first = drive["first"]
        self._scene = Stage(drive["fps"])
        self._scene.now = self._scene.time(self._first)
        self.vehicle = DrivenVehicle(self._scene)
        self.vehicle.create_rig()
        for element in self._scene.elements:  # the rig's meshes are surfaces too; their shape is never asked for
            element.surface = None if element.name.endswith("Cam") else Mesh([(0, 0, 0)], [])
        self._rig = list(self._scene.elements)
        self.messages, self._heard = {}, 0
        self.feed(plan["inputs"], self._first)
        self._set_up(drive, plan, grounds)

    def _set_up(self, drive, plan, grounds):
        vehicle = self.vehicle
        placing.resize(vehicle, plan["length"])
        if plan["preset"]:
            self._tune(plan["preset"])
        if plan["target"] and "autonomous mode" not in [label.lower() for label in plan["parameters"]]:
            dialog.edit(vehicle, "Autonomous Mode", True)
        late = {label: value for label, value in plan["parameters"].items()
                if label.lower() == dialog.STORE_GROUND.lower()}
        self._tune({**plan, "parameters": {k: v for k, v in plan["parameters"].items() if k not in late}})
        placing.place(vehicle, plan["at"], plan["heading"], Probe([mesh for _, mesh in grounds]))
        self._link(drive, grounds)
        for label, value in late.items():
            dialog.edit(vehicle, label, value)
        if plan["target"]:
            lay_keys(vehicle, TargetPath(plan["target"]), self._first, drive["last"])

    def _tune(self, plan):
        vehicle = self.vehicle
        placing.place_wheels(vehicle, plan.get("wheels", {}))
        for name, setting in plan.get("channels", {}).items():
            vehicle.channels[channel_index(name)].update(setting)
        for label, value in plan.get("parameters", {}).items():
            dialog.edit(vehicle, label, value)
        if "fallAcceleration" in plan:
            fall = FALL_PER_LENGTH * placing.body_length(vehicle)
            dialog.edit(vehicle, "Gravity", plan["fallAcceleration"] / fall)
        for key, value in plan.get("state", {}).items():
            dialog.put(vehicle, dialog.STATE[key], value)

    def _link(self, drive, grounds):
        """The first ground of the first file carries the arrow, all others hang below it."""
        assert not any("link" in ground and ground["link"] == "parent" for ground in drive["ground"])
        scene, arrow = self._scene, self._scene.find("GravityDirectionMesh")
        now = scene.now
        world = arrow.world(now)
        for i, (name, mesh) in enumerate(grounds):
            element = scene.create(name, None, mesh)
            if i == 0:
                scene.link(arrow, element)
                arrow.set_world(now, world)
            else:
                scene.link(element, arrow)
                element.set_world(now, [1.0 if k % 5 == 0 else 0.0 for k in range(16)])

    def feed(self, inputs, zero):
        """From now on these tracks, whose second 0 is the frame `zero`."""
        self._tracks, self._zero = Tracks(inputs), self._scene.time(zero)

    def _listen(self, frame):
        """Keeps what the vehicle has told in this frame: {(caption, first line): [first frame, times]}."""
        for text, caption in self._scene.messages[self._heard:]:
            self.messages.setdefault((caption, text.partition("\n")[0]), [frame, 0])[1] += 1
        self._heard = len(self._scene.messages)

    def _show(self, frame):
        self._scene.now = self._scene.time(frame)
        self.vehicle.devices = self._tracks.at(self._scene.now - self._zero)

    def start(self, frame):
        self._show(frame)
        self.vehicle.start_run(self._scene.now)
        self._listen(frame)

    def step(self, frame):
        self._show(frame)
        self.vehicle.update_frame(self._scene.now)
        self.vehicle.show_frame(self._scene.now)
        self._listen(frame)

    def stop(self):
        self.vehicle.stop_run()

    def look(self):
        """What a trace has of this frame: {(section, name): numbers}."""
        vehicle, now = self.vehicle, self._scene.now
        seen = {("elements", f"{self.name}_{element.name}"): element.world(now) for element in self._rig}
        for name, value in zip(dialog.OUTPUTS, vehicle.outputs):
            seen["channels", self.name, name] = [value]
        for name, value in zip(CHANNELS, vehicle.devices):
            seen["inputs", self.name, name] = [value]
        for name, field in dialog.GAUGES.items():
            seen["gauges", self.name, name] = [getattr(vehicle, field)]
        return seen
