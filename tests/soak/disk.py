"""The folders that the soak works on, and what happens to them behind the program's back."""
import glob
import os
import shutil

PLAIN_MODS = ("arms", "works", "watch", "wings")
DISTURBED = ("mod", "mod2", "faulty", "faulty2")
ODD_CONTENTS = [b"", b"[UNITINFO]{UnitName=ODD;ObjectName=FENRAFT;}", b"[A]{" * 5000, b"[" * 3000,
                b'{"perUnit":{"A":{"b":["c"]}}}']


class Disk:
    """Copies of the sample roots; everything that requests write lies in here, too."""

    def __init__(self, folder, samples, large=None):
        self.folder, self.samples = folder, samples
        self.out = os.path.join(folder, "out")
        self.made = os.path.join(folder, "made")
        os.mkdir(self.made)
        for name, source in (("game", "game"), ("maps", "maps"), ("mod", "mod"), ("mod2", "mod"),
                             ("faulty", "faulty"), ("faulty2", "faulty"),
                             *zip(PLAIN_MODS, PLAIN_MODS)):
            shutil.copytree(os.path.join(samples, source), self.path(name))
        self.large_mods = []
        if large:
            written = os.path.dirname(glob.glob(os.path.join(large, "*", "game"))[0])
            shutil.copytree(written, self.path("large"))
            self.large_mods = sorted(glob.glob(self.path("large/mod*")))
        self.sounds = [name[:-4] for name in os.listdir(self.path("game/sounds"))]

    def path(self, name):
        return os.path.join(self.folder, name)

    def archives(self):
        return [os.path.join(root, name) for root, _, names in os.walk(self.folder)
                for name in sorted(names) if name.endswith((".hpi", ".ufo", ".ccx", ".gp3"))]

    def disturb(self, rng):
        """Changes one thing in a mod, or puts a mod back as it was."""
        mod = self.path(rng.choice(DISTURBED))
        rng.choice([self.renew, self.renew, self.renew, self.damage, self.remove, self.add])(rng, mod)

    def renew(self, rng, mod):
        shutil.rmtree(mod)
        shutil.copytree(os.path.join(self.samples, os.path.basename(mod).rstrip("2")), mod)
        shutil.rmtree(self.out, ignore_errors=True)
        shutil.rmtree(self.made)
        os.mkdir(self.made)

    def files(self, mod):
        return sorted(os.path.join(folder, name) for folder, _, names in os.walk(mod)
                      for name in names if os.path.isfile(os.path.join(folder, name)))

    def damage(self, rng, mod):
        """Cuts a file off or overwrites some of it in place."""
        if not (files := self.files(mod)):
            return
        with open(rng.choice(files), "r+b") as file:
            size = file.seek(0, os.SEEK_END)
            if rng.random() < 0.3:
                file.truncate(rng.randrange(size + 1))
                return
            for _ in range(rng.choice([1, 1, 5])):
                file.seek(rng.randrange(size + 1))
                file.write(rng.randbytes(rng.choice([1, 4, 100])))

    def remove(self, rng, mod):
        if files := self.files(mod):
            os.remove(rng.choice(files))

    def add(self, rng, mod):
        """A file, or what only looks like one: a folder, a pipe, a link in a circle."""
        name = rng.choice(["units/ODD.fbi", "scripts/ODD.cob", "objects3d/ODD.3do", "odd.ufo",
                           "lint-suppress.json", "unitpics/FENRAFT.png", "weapons/odd.tdf"])
        path = os.path.join(mod, name)
        if os.path.lexists(path):
            return
        os.makedirs(os.path.dirname(path), exist_ok=True)
        kind = rng.randrange(5)
        if kind == 0:
            os.mkdir(path)
        elif kind == 1:
            os.mkfifo(path)
        elif kind == 2:
            os.symlink(path, path)
        else:
            with open(path, "wb") as file:
                file.write(rng.choice([*ODD_CONTENTS, rng.randbytes(2000)]))
