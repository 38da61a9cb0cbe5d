"""The small changes that scripts/mutate.py makes to the library's sources, one at a time.

Sites are found line by line in the masked source, in which comments, texts and declarations that say nothing to the
program are blank. This relies on the project's formatting: spaces around comparisons but none inside template brackets,
one statement to a line or more, none sharing a line with another.
"""
import difflib
import functools
import re

KINDS = {
    "comparison": "a comparison becomes its neighbour",
    "condition": "a condition is negated",
    "logic": "a logical and becomes an or, or the other way round",
    "arithmetic": "+ and -, ++ and --, << and >>, bitwise and and or are exchanged",
    "constant": "a number is one more or one less, true and false are exchanged",
    "store": "a store is dropped",
    "call": "a call is dropped; where its result is used, 0 is used",
    "swap": "two neighbouring statements are exchanged, one of them a call",
    "return": "a return, break or continue is dropped, or 0 is returned",
    "gate": "a message is of another class, a mask bit is another one",
    "mode": "a mode, layout or port type is another of its kind",
    "family": "a family's branch, table or message is the other family's",
    "width": "a number is cut to fewer bits, or a status is not cut to its byte",
    "text": "a character or a directive of a text is another one, or an escape is missing",
}

NEIGHBOURS = {
    "==": ("!=", ">="), "!=": ("==", "<"), "<": ("<=", ">"), "<=": ("<", "=="), ">": (">=", "=="), ">=": (">", "=="),
}  # fmt: skip
OPPOSITES = {"+": "-", "-": "+", "&": "|", "|": "&", "<<": ">>", ">>": "<<"}
DIRECTIVES = {"d": "x", "x": "d", "u": "x"}
OPPOSITE_STORES = {"+=": "-=", "-=": "+=", "|=": "&=", "&=": "|="}

GATES = [
    ["LOG_TRACE", "LOG_ERROR", "LOG_CONFIG"],
    ["MC_DEBUG_TRACE", "MC_DEBUG_ERROR", "MC_DEBUG_CONFIG", "MC_DEBUG_TX_DUMP", "MC_DEBUG_RX_DUMP"],
]
MODES = [
    ["kSnooping", "kProxy", "kControl"],
    ["kAskControl", "kAskProxy", "kAskFlooding"],
    ["kIgmpSnooping", "kIgmpControl"],
    ["kMldSnooping", "kMldControl"],
    ["kDownstreamUntag", "kDownstreamAsIs0", "kDownstreamAsIs3"],
    ["kWebUntag", "kWebTag"],
    ["MC_PORT_TYPE_USER", "MC_PORT_TYPE_UPLINK"],
    ["Layout::kUntagged", "Layout::kTagged", "Layout::kDoubleTagged", "Layout::kTaggedPppoe", "Layout::kPppoe"],
    ["TagMode::kUntag", "TagMode::kTranslate", "TagMode::kTag"],
    ["Outcome::kMldFollows", "Outcome::kEnds"],
    ["kIpv4", "kIpv6"],
    ["kTypeIpv4", "kTypeIpv6"],
    ["kNotTaken", "kRefused"],
    ["kResetFastLeave", "kResetGroupLimit"],
    ["kFastLeaveOn", "kFastLeaveOff"],
]

FAMILIES = [
    ["mc_debug", "mld_debug"],
    ["sys_mac", "mld_sys_mac"],
    ["portState", "mldInitParams.mldPortState"],
    ["PortVlanCfg", "mldInitParams.mldPortVlanCfg"],
    ["setVlanCfgNumber", "mldInitParams.mldSetVlanCfgNumber"],
    ["globle_parm.defaultVlan", "mldInitParams.defaultVlan", "defaultVlan"],
]

HIDDEN = "\1"
STRING = r'"(?:[^"\\\n]|\\.)*"'
COMMENT_OR_TEXT = rf"(?P<comment>//[^\n]*|/\*.*?\*/)|{STRING}|(?<!\w)'(?:[^'\\\n]|\\.)+'"
# What a literal is made of: escapes, directives of printf, plain characters.
TEXT_PARTS = re.compile(r"(?P<escape>\\.)|%[-#0]*\d*(?:\.\d+)?l*(?P<directive>[diuxs])|(?P<plain>[^%])")

LVALUE = r"[*]?[A-Za-z_](?:[\w.]|->|::|\[[^\[\];]*\]|\(\)|<\w+>)*"
STORE = re.compile(rf"{LVALUE}\s[-+|&]?=\s|(?:\+\+|--)[*\w]|{LVALUE}(?:\+\+|--);")
CALL = re.compile(r"(?:[A-Za-z_]\w*(?:<\w+>)?(?:\(\))?(?:::|\.|->))*[A-Za-z_]\w*(?:<\w+>)?\(.*\);$", re.S)
RESULT = re.compile(r"(?:const )?(?:u?int\w+ |auto )?\w+ =\s+(?P<call>[a-z][\w:]*(?:<\w+>)?\(.*\));$", re.S)
STORE_CALL = re.compile(r"(?:store|clear|copy)_\w+(?:<\w+>)?\(")
CONTROL = re.compile(r"(?:\} )?(?:if|else|for|while|switch|do)\b")
PRINTS = re.compile(r"LOG_|printf")
# Their order among themselves changes nothing.
PLAIN_COPY = re.compile(r"(?:\w+\.)?(?:memcpy|memmove|copy_bytes|copy_text|write_be16|write_tag|put|put_be32|take)\b")


class Mutation:
    """One change of a file: `edits` replace ranges of its text."""

    def __init__(self, file, text, kind, *edits):
        self.file = file
        self.text = text
        self.kind = kind
        self.edits = sorted(edits)
        self.line = text.count("\n", 0, self.edits[0][0]) + 1
        self.number = 0

    @property
    def name(self):
        return f"{self.file}:{self.line}:{self.kind}:{self.number}"

    def applied(self):
        text = self.text
        for start, end, new in reversed(self.edits):
            text = text[:start] + new + text[end:]
        return text

    def diff(self):
        lines = difflib.unified_diff(self.text.splitlines(), self.applied().splitlines(), n=0, lineterm="")
        return "\n".join(line.rstrip() for line in list(lines)[2:])


def masked(text):
    """The source with blanks for what must not change, and for what stands between the quotes of its texts."""

    def blank(match):
        return re.sub(r"[^\n]", " ", match[0])

    def hide(match):
        return blank(match) if match["comment"] else match[0][0] + HIDDEN * (len(match[0]) - 2) + match[0][-1]

    code = re.sub(COMMENT_OR_TEXT, hide, text, flags=re.S)
    code = re.sub(r"^[ \t]*#[ \t]*define \w+(?:\([^)]*\)| \d+$)?", blank, code, flags=re.M)
    code = re.sub(r"^[ \t]*#[^\n]*", blank, code, flags=re.M)
    code = re.sub(r"\\$", " ", code, flags=re.M)
    code = re.sub(r"static_assert\s*\(.*?\);", blank, code, flags=re.S)
    code = re.sub(r"\bsizeof\([^()]*\)", blank, code)
    return re.sub(r'\[\[.*?\]\]|(?<=, )(?:true|false)(?=\);)|\bextern "[^"]*"', blank, code)


def code_lines(text):
    return sum(1 for line in masked(text).splitlines() if line.strip())


class Statement:
    """A statement, a label, or what stands before or between braces; `is_body` if it is all that an if or loop does."""

    def __init__(self, start, code, is_body):
        self.start, self.end, self.code, self.is_body = start, start + len(code), code, is_body
        self.is_header = CONTROL.match(code) is not None and code[-1] not in ";{"
        plain = code.endswith(";") and not CONTROL.match(code)
        self.is_store = plain and STORE.match(code) is not None
        self.is_call = plain and CALL.match(code) is not None and not code.startswith("return")
        self.only_stores = self.is_store or (self.is_call and STORE_CALL.match(code) is not None)

    def stored(self):
        """The field that a store is to."""
        place = re.sub(r"\[[^\]]*\]", "", re.split(r"[-+|&]?=|[,)]", self.code)[0])
        return re.findall(r"\w+", place)[-1]


def statements(code):
    """The statements of a masked source."""
    found, start, after_header = [], None, False
    for line in re.finditer(r"[^\n]*[^\s][^\n]*", code):
        if start is None:
            start = line.end() - len(line[0].lstrip())
        end = line.start() + len(line[0].rstrip())
        whole = code[start:end]
        if whole.count("(") != whole.count(")"):
            continue
        if whole[-1] in ";{}:" or (CONTROL.match(whole) and (whole[-1] == ")" or whole.endswith("else"))):
            found.append(Statement(start, whole, after_header))
            after_header = found[-1].is_header
            start = None
    return found


def closing(code, opened):
    """Where the bracket that is opened there closes."""
    depth = 0
    for place in range(opened, len(code)):
        depth += {"(": 1, ")": -1}.get(code[place], 0)
        if depth == 0:
            return place
    raise ValueError("a bracket stays open")


def exchanged_words(code, groups):
    """Each word of a group becomes each other one of it."""
    for group in groups:
        words = "|".join(re.escape(word) for word in sorted(group, key=len, reverse=True))
        for match in re.finditer(rf"(?<![\w.])(?:{words})(?!\w)", code):
            for word in group:
                if word != match[0]:
                    yield match.start(), match.end(), word


def comparisons(code):
    for match in re.finditer(r" (==|!=|<=?|>=?) (?P<greatest>(?:MC_NO_VLAN|kVidMask)\b)?", code):
        for other in NEIGHBOURS[match[1]][: 1 if match["greatest"] else 2]:  # beyond it there is nothing to confuse
            yield match.start(1), match.end(1), other


def conditions(text, code):
    for match in re.finditer(r"\b(?:if|while) \(", code):
        end = closing(code, match.end() - 1)
        whole = text[match.end() : end]
        if not re.fullmatch(r"[^&|]* [=!]= [^&|]*", whole):  # which is a changed comparison
            yield match.end(), end, f"!({whole})"


def connectives(code):
    for match in re.finditer(r"&&|\|\|", code):
        yield match.start(), match.end(), "&&" if match[0] == "||" else "||"


def arithmetic(code):
    for match in re.finditer(r" ([-+&|]|<<|>>) ", code):
        yield match.start(1), match.end(1), OPPOSITES[match[1]]
    for match in re.finditer(r" ([-+|&]=) ", code):
        yield match.start(1), match.end(1), OPPOSITE_STORES[match[1]]
    for match in re.finditer(r"\+\+|--", code):
        yield match.start(), match.end(), "--" if match[0] == "++" else "++"


def constants(code):
    for match in re.finditer(r"(?<![\w.])(?:0[xX][0-9A-Fa-f]+|\d+)(?=[uU]?\b)", code):
        value, write = int(match[0], 0), hex if match[0][:2] in ("0x", "0X") else str
        for other in (value + 1, value - 1):
            if other >= 0:
                yield match.start(), match.end(), write(other)
    for match in re.finditer(r"\b(?:true|false)\b", code):
        yield match.start(), match.end(), "false" if match[0] == "true" else "true"


def dropped_stores(code):
    for statement in statements(code):
        if statement.is_store:
            yield statement.start, statement.end, "{}"


def dropped_calls(code):
    for statement in statements(code):
        result = RESULT.match(statement.code)
        if statement.is_call:
            yield statement.start, statement.end, "{}"
        elif result:
            yield statement.start + result.start("call"), statement.start + result.end("call"), "0"


def stored_in(names, code):
    return any(re.search(rf"\b{name}\b", code) for name in names)


def swaps(code):
    """Two edits each: the statements change places."""
    found = statements(code)
    for first, second in zip(found, found[1:]):
        pair = (first, second)
        if any(each.is_body or not (each.is_call or each.is_store) for each in pair) or first.code == second.code:
            continue
        calls = [each for each in pair if each.is_call and not each.only_stores and not PLAIN_COPY.match(each.code)]
        stored = [each.stored() for each in pair if each.only_stores]
        # A line can tell its order with a store only if it prints what is stored.
        silent = [each for each in calls if PRINTS.match(each.code) and not stored_in(stored, each.code)]
        if calls and not (stored and silent):
            yield first, second


def returns(code):
    found = statements(code)
    for statement, following in zip(found, [*found[1:], None]):
        last = statement.code == "break;" and following and following.code == "}"  # ends its switch anyway
        if re.match(r"(?:return\b.*|continue|break);", statement.code, re.S) and not last:
            yield statement.start, statement.end, "{}"
    for match in re.finditer(r"\breturn ([^;]+);", code):
        if not re.fullmatch(r"0|nullptr|true|false|k[A-Z]\w*", match[1]):
            yield match.start(1), match.end(1), "0"


def families(code):
    for match in re.finditer(r"!?F::kMld\b", code):
        yield match.start(), match.end(), "F::kMld" if match[0][0] == "!" else "!F::kMld"
    for match in re.finditer(r"(?<=[<(])(?:Igmp|Mld)(?=[>,])|\b(?:Igmp|Mld)(?=::)", code):
        yield match.start(), match.end(), "Mld" if match[0] == "Igmp" else "Igmp"
    yield from exchanged_words(code, FAMILIES)


def widths(code):
    for match in re.finditer(r"static_cast<u?int(\d+)_t>(?!\((?:logic_port|key|k)\))", code):  # indices fit anyway
        for narrower in {"64": ("32",), "32": ("8",), "16": ("8",)}.get(match[1], ()):
            yield match.start(1), match.end(1), narrower
    for match in re.finditer(r"\b(?:byte_status|low16|engine_vlan)\(", code):
        yield match.start(), match.end(), "("


def texts(text, code):
    for literal in re.finditer(f'"{HIDDEN}+"', code):
        parts = list(TEXT_PARTS.finditer(text, literal.start() + 1, literal.end() - 1))
        plain = [part for part in parts if part["plain"]]
        for part in {plain[len(plain) // 2], plain[-1]} if plain else ():
            yield part.start(), part.end(), other_character(part[0])
        for part in [part for part in parts if part["directive"]][:1]:
            yield part.start("directive"), part.end("directive"), DIRECTIVES.get(part["directive"], "p")
        escapes = [part for part in parts if part["escape"]]
        for part in {escapes[0], escapes[-1]} if escapes else ():
            yield part.start(), part.end(), ""


def other_character(character):
    if character.isdigit():
        return str((int(character) + 1) % 10)
    return character.swapcase() if character.isalpha() else "_" if character == " " else "~"


@functools.cache
def mutations(file, text):
    """All changes of a source file, by place; those of one kind on one line are numbered."""
    code = masked(text)
    single = {
        "comparison": comparisons(code),
        "condition": conditions(text, code),
        "logic": connectives(code),
        "arithmetic": arithmetic(code),
        "constant": constants(code),
        "store": dropped_stores(code),
        "call": dropped_calls(code),
        "return": returns(code),
        "gate": exchanged_words(code, GATES),
        "mode": exchanged_words(code, MODES),
        "family": families(code),
        "width": widths(code),
        "text": texts(text, code),
    }
    found = [Mutation(file, text, kind, edit) for kind, edits in single.items() for edit in edits]
    for first, second in swaps(code):
        former, latter = text[first.start : first.end], text[second.start : second.end]
        found.append(Mutation(file, text, "swap", (first.start, first.end, latter), (second.start, second.end, former)))

    order = list(KINDS)
    found.sort(key=lambda each: (each.line, order.index(each.kind), each.edits))
    numbers = {}
    for each in found:
        place = (each.line, each.kind)
        each.number = numbers[place] = numbers.get(place, 0) + 1
    return found
