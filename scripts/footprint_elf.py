"""What an ELF file tells about the memory that it takes."""
import re

FILES = ("_edata", "_end", "__bss")

CODE = re.compile(r"\.(text|plt|iplt|init|fini|MIPS\.stubs)(\.|$)")
CONSTANTS = re.compile(r"\.(rodata|data\.rel\.ro)(\.|$)")
WRITABLE = re.compile(r"\.(data|bss|sdata|sbss|tdata|tbss)(\.|$)")
RELOCATED = re.compile(r"\.(dynamic|got|data\.rel\.ro|init_array|fini_array)(\.|$)")
SECTION = re.compile(
    r"^\s*\[\s*(\d+)\]\s+(\S+)\s+(\S+)\s+[0-9a-f]+\s+[0-9a-f]+\s+([0-9a-f]+)\s+[0-9a-f]+\s+([A-Za-z]*)\s+\d+\s+\d+\s+\d+",
    flags=re.M,
)


class Section:
    def __init__(self, match):
        self.number, self.name, self.type = match[1], match[2], match[3]
        self.bytes, self.flags = int(match[4], 16), match[5]

    @property
    def is_loaded(self):
        return "A" in self.flags

    @property
    def is_writable_data(self):
        return self.is_loaded and bool(WRITABLE.match(self.name)) and not CONSTANTS.match(self.name)

    @property
    def is_protectable(self):
        """Whether the loader alone writes it. MIPS keeps its offset table among the data, within reach of one register."""
        return bool(RELOCATED.match(self.name)) and "W" in self.flags and "p" not in self.flags


class Library:
    """A shared library; `output_of` runs a command and gives its output."""

    def __init__(self, path, output_of):
        self.path = path
        self._output_of = output_of
        self.sections = [Section(match) for match in SECTION.finditer(self.readelf("--sections"))]
        loaded = [section for section in self.sections if section.is_loaded]
        self.code = sum(s.bytes for s in loaded if CODE.match(s.name))
        self.constants = sum(s.bytes for s in loaded if CONSTANTS.match(s.name))
        self.writable = sum(s.bytes for s in loaded if s.is_writable_data)
        self.tables = sum(s.bytes for s in loaded) - self.code - self.constants - self.writable
        self.size_text = sum(s.bytes for s in loaded if "W" not in s.flags)
        self.dynamic = self.readelf("--dynamic")

    def readelf(self, *arguments):
        return self._output_of(["readelf", "-W", *arguments, self.path])

    @property
    def needed(self):
        return re.findall(r"\(NEEDED\).*\[(.*)\]", self.dynamic)

    def linking_problems(self):
        if "TEXTREL" in self.dynamic:
            yield "the library relocates its code (TEXTREL)"
        protectable = [section.name for section in self.sections if section.is_protectable]
        if protectable and "GNU_RELRO" not in self.readelf("--program-headers"):
            yield f"{', '.join(protectable)} stay writable once the library is relocated (RELRO)"
        if not re.search(r"\(BIND_NOW\)|BIND_NOW|\bNOW\b", self.dynamic):
            yield "the library is not bound when it is loaded (BIND_NOW)"

    def writable_objects(self):
        """{name: bytes} of the data objects in the sections that stay writable."""
        numbers = {section.number for section in self.sections if section.is_writable_data}
        found = {}
        for line in self._output_of(["readelf", "-W", "--syms", "--demangle", self.path]).splitlines():
            fields = line.split(maxsplit=7)
            if len(fields) < 8 or fields[3] not in ("OBJECT", "NOTYPE") or fields[6] not in numbers:
                continue
            size, name = int(fields[2], 0), re.sub(r"@.*", "", fields[7])
            if size > 0 and not name.startswith(FILES):
                found[re.sub(r"\.\d+$", "", name)] = size
        return found
