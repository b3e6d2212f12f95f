#!/usr/bin/env python3
"""Writes the four ghost car files Tarvex installs into the game (no dependencies).

ghost.sgc          the mesh: a low-poly rally hatchback (body, cabin, wheels, rear wing)
ghost.ini          its description: body dimensions, colour alpha, scale per car model
ghost_shaders.ini  how the game shades it: translucent, lit, no depth writes
ghostcar.ini       the entry file the game is pointed at, naming the other three

Mesh frame: x right, y up, z forward, metres, origin on the ground under the car's centre.
Run from this folder to regenerate them.
"""
import math
import struct

LENGTH, WIDTH, HEIGHT = 4.00, 1.76, 1.42
CLEARANCE = 0.18
WHEEL_X, WHEEL_Y, WHEEL_Z, WHEEL_R, WHEEL_W = 0.78, 0.32, 1.28, 0.32, 0.22

# The eight ghost models, in the order of Tarvex's Ghost menu, with their real sizes.
MODELS = [
    ("Citroen Xsara", 4.17, 1.77, 1.40),
    ("Hyundai Accent", 4.20, 1.67, 1.40),
    ("MG ZR Super 1600", 4.00, 1.69, 1.42),
    ("Mitsubishi Lancer Evo VII", 4.46, 1.77, 1.45),
    ("Peugeot 206", 3.84, 1.67, 1.43),
    ("Subaru Impreza 2003", 4.42, 1.74, 1.44),
    ("Toyota Corolla", 4.18, 1.71, 1.39),
    ("Subaru Impreza 2000", 4.34, 1.73, 1.42),
]


class Mesh:
    def __init__(self):
        self.vertices = []
        self.triangles = []

    def add(self, points):
        first = len(self.vertices)
        self.vertices.extend(points)
        return first

    def quad(self, a, b, c, d):
        self.triangles.append((a, b, c))
        self.triangles.append((a, c, d))

    def loft(self, sections, cap=True):
        """Joins closed outlines of equal size, one per station, into a tube."""
        count = len(sections[0])
        starts = [self.add(section) for section in sections]
        for s0, s1 in zip(starts, starts[1:]):
            for i in range(count):
                j = (i + 1) % count
                self.quad(s0 + i, s0 + j, s1 + j, s1 + i)
        if cap:
            for start, flip in ((starts[0], True), (starts[-1], False)):
                for i in range(1, count - 1):
                    tri = (start, start + i, start + i + 1)
                    self.triangles.append(tri[::-1] if flip else tri)


def body(mesh):
    # Stations from the rear bumper to the nose: half width and shoulder height.
    stations = [(-2.00, 0.80, 0.80), (-1.85, 0.86, 0.90), (-1.20, 0.875, 0.93), (0.00, 0.88, 0.93),
                (1.20, 0.875, 0.86), (1.80, 0.84, 0.74), (2.00, 0.76, 0.62)]
    sections = []
    for z, w, top in stations:
        y0 = CLEARANCE
        outline = [(-0.92 * w, y0), (0.92 * w, y0), (w, y0 + 0.15), (w, top - 0.10),
                   (0.90 * w, top), (-0.90 * w, top), (-w, top - 0.10), (-w, y0 + 0.15)]
        sections.append([(x, y, z) for x, y in outline])
    mesh.loft(sections)


def cabin(mesh):
    # Hatch, roof and windscreen as one tapered tube sitting on the shoulders.
    stations = [(-1.78, 0.93), (-1.58, HEIGHT - 0.03), (0.40, HEIGHT), (1.05, 0.93)]
    sections = []
    for z, top in stations:
        outline = [(-0.80, 0.92), (0.80, 0.92), (0.62, top), (-0.62, top)]
        sections.append([(x, y, z) for x, y in outline])
    mesh.loft(sections)


def wheel(mesh, side, end):
    segments = 12
    x0 = side * WHEEL_X
    rims = []
    for x in (x0 - WHEEL_W / 2, x0 + WHEEL_W / 2):
        rims.append([(x, WHEEL_Y + WHEEL_R * math.sin(2 * math.pi * k / segments),
                      end * WHEEL_Z + WHEEL_R * math.cos(2 * math.pi * k / segments))
                     for k in range(segments)])
    mesh.loft(rims)


def wing(mesh):
    x, y0, y1, z0, z1 = 0.70, HEIGHT - 0.05, HEIGHT + 0.01, -1.86, -1.56
    outline = [(-x, y0), (x, y0), (x, y1), (-x, y1)]
    mesh.loft([[(px, py, z) for px, py in outline] for z in (z0, z1)])


def sgc(mesh):
    data = b"DHRSGC\x00\x01" + struct.pack("<II", len(mesh.vertices), len(mesh.triangles))
    data += b"".join(struct.pack("<3f", *v) for v in mesh.vertices)
    data += b"".join(struct.pack("<3H", *t) for t in mesh.triangles)
    assert len(data) == 16 + 12 * len(mesh.vertices) + 6 * len(mesh.triangles)
    return data


def ini(lines):
    return ("\r\n".join(lines) + "\r\n").encode("ascii")


def description():
    lines = ["[DHRAsset]", "Kind=GhostDescription", "Version=1", "",
             "; The shared mesh is a generic rally hatchback; each model scales it to its car.",
             "[Body]", f"Length={LENGTH:.2f}", f"Width={WIDTH:.2f}", f"Height={HEIGHT:.2f}",
             f"GroundClearance={CLEARANCE:.2f}", f"WheelBase={2 * WHEEL_Z:.2f}",
             f"Track={2 * WHEEL_X:.2f}", f"WheelRadius={WHEEL_R:.2f}", "",
             "; Other players' cars are shown see-through; Tarvex gives each its own colour.",
             "[Colour]", "Alpha=0.45", "Red=1.00", "Green=1.00", "Blue=1.00", ""]
    for number, (name, length, width, height) in enumerate(MODELS, start=1):
        lines += [f"[Model{number}]", f"Name={name}", f"ScaleLength={length / LENGTH:.3f}",
                  f"ScaleWidth={width / WIDTH:.3f}", f"ScaleHeight={height / HEIGHT:.3f}", ""]
    return ini(lines[:-1])


def shaders():
    return ini(["[DHRAsset]", "Kind=GhostShaders", "Version=1", "",
                "; Ghosts must never hide the road or the driver's own car.",
                "[Shading]", "Lighting=Lambert", "Ambient=0.40", "Diffuse=0.60", "Specular=0.00",
                "Blend=SrcAlpha,InvSrcAlpha", "DepthWrite=0", "DepthTest=1", "CullBackFaces=1",
                "", "; Close ghosts fade so a car sitting inside one stays visible.",
                "[Fade]", "NearDistance=2.5", "NearAlpha=0.15", "FarDistance=600.0",
                "FarAlpha=0.45", "", "[Shadow]", "Cast=0"])


def entry():
    return ini(["[DHRAsset]", "Kind=GhostCar", "Version=1", "Model=ghost.sgc",
                "Description=ghost.ini", "Shaders=ghost_shaders.ini"])


def main():
    mesh = Mesh()
    body(mesh)
    cabin(mesh)
    for side in (-1, 1):
        for end in (-1, 1):
            wheel(mesh, side, end)
    wing(mesh)
    files = {"ghost.sgc": sgc(mesh), "ghost.ini": description(),
             "ghost_shaders.ini": shaders(), "ghostcar.ini": entry()}
    for name, data in files.items():
        with open(name, "wb") as f:
            f.write(data)


if __name__ == "__main__":
    main()
