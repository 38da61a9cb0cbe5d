"""The deepest stack, from the call graphs that GCC writes with -fcallgraph-info=su."""
import re

NODE = re.compile(r'^node: \{ title: "([^"]*)" label: "((?:[^"\\]|\\.)*)"(.*)\}', flags=re.M)
EDGE = re.compile(r'^edge: \{ sourcename: "([^"]*)" targetname: "([^"]*)"', flags=re.M)
FRAME = re.compile(r"\\n(\d+) bytes \(([a-z,]+)\)")


class Chain:
    """Functions that call one another, each with the bytes of its frame; the last may be none of the library's."""

    def __init__(self, steps):
        self.steps = steps

    @property
    def bytes(self):
        return sum(frame for _, frame in self.steps)

    def __str__(self):
        return " > ".join(f"`{name}` {frame}" if frame else f"`{name}`" for name, frame in self.steps)


class CallGraph:
    """`callbacks` names the outside calls that may call back into the library, each with what it may call."""

    def __init__(self, files, callbacks):
        self.frames, self.calls, self.names, self.callbacks = {}, {}, {}, callbacks
        files = list(files)
        if not files:
            raise SystemExit("footprint: no call graph was written; the compiler must be GCC")
        for file in files:
            self._read(file.read_text())
        self._known = {}

    def _read(self, text):
        for title, label, rest in NODE.findall(text):
            self.names.setdefault(title, readable(title, label))
            frame = FRAME.search(label)
            if "shape" not in rest and frame:
                if "dynamic" in frame[2] and "bounded" not in frame[2]:
                    raise SystemExit(f"footprint: {self.names[title]} has a frame without a bound")
                # A template is in every file that uses it, and the linker may keep any of them.
                self.frames[title] = max(int(frame[1]), self.frames.get(title, 0))
        for caller, called in EDGE.findall(text):
            self.calls.setdefault(caller, set()).add(called)

    def deepest(self, entries):
        """The deepest chain from any of these functions to what is not the library's."""
        missing = [entry for entry in entries if entry not in self.frames]
        if missing:
            raise SystemExit(f"footprint: not in the call graph: {', '.join(missing)}")
        return max((self._below(entry, frozenset()) for entry in entries), key=lambda chain: chain.bytes)

    def deepest_with_callbacks(self, entry):
        """The same where outside calls call back; what those take of the stack in between is theirs."""
        self._known, kept = {}, self.calls
        self.calls = {**self.calls, **self.callbacks}
        try:
            return self.deepest([entry])
        finally:
            self._known, self.calls = {}, kept

    def _node_of(self, name):
        """The node of a function that may be another file's, go by a second name, or share the code of its like."""
        if name in self.frames or name == "__indirect_call":
            return name
        file, _, plain = name.rpartition(":")
        names = {plain, re.sub(r"\.localalias(\.\d+)?$", "", plain), re.sub(r"C1(E|I)", r"C2\1", plain)}
        alike = [node for node in self.frames if node.rpartition(":")[2] in names]
        if not alike and name in self.names:
            return name  # none of the library's
        if not alike:
            plain = readable(name, "")
            alike = [node for node in self.frames if node.startswith(f"{file}:") and readable(node, "") == plain]
        if not alike:
            raise SystemExit(f"footprint: {name} is called and in no call graph")
        return max(alike, key=lambda node: self.frames[node])

    def _below(self, name, callers):
        name = self._node_of(name)
        if name == "__indirect_call":
            raise SystemExit("footprint: the library calls through a pointer, and no chain is known behind it")
        if name in callers:
            raise SystemExit(f"footprint: {self.names[name]} calls itself, so that its stack has no bound")
        if name not in self._known:
            below = [self._below(called, callers | {name}) for called in sorted(self.calls.get(name, ()))]
            rest = max(below, key=lambda chain: (chain.bytes, bool(chain.steps)), default=Chain([]))
            self._known[name] = Chain([(self.names[name], self.frames.get(name, 0)), *rest.steps])
        return self._known[name]


def readable(title, label):
    """The name of a function as it stands in the source."""
    mangled = re.search(r"_Z(N?K?)(?:7mcadapt)?L?(\d\w+)", title)
    if not mangled:
        return re.sub(r"^.*:|\..*$", "", title)
    family = re.search(r"\[with F = (?:mcadapt::)?(\w+)", label)
    method = re.search(r"::(~?\w+)\(", label.replace("mcadapt::", "")) if label else None
    length = re.match(r"\d+", mangled[2])[0]
    name = mangled[2][len(length) :][: int(length)]
    name += f"::{method[1]}" if method and method[1] != name else ""
    return name + (f"<{family[1]}>" if family else "")
