"""Where a source of C++ can be broken in one place, for scripts/mutate.

The sources are taken as clang-format leaves them; there is no parser behind this.
"""

import re

NOT_CODE = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"(?P<end>\w*)\(.*?\)(?P=end)"|"(?:\\.|[^"\\\n])*"|(?<!\d)\'(?:\\.|[^\'\\\n])+\''
    r"|^[ \t]*#(?:\\\n|[^\n])*|\bspdlog::\w+\([^;]*\);|\bstatic_assert\([^;]*\);", re.DOTALL | re.MULTILINE)
# Binary operators stand between blanks in this code, brackets of templates and references do not.
OPERATORS = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=",
}
OPERATOR = re.compile(r"(?<=\s)(" + "|".join(map(re.escape, sorted(OPERATORS, key=len, reverse=True))) + r")(?=\s)")
STEP = re.compile(r"\+\+|--")
NUMBER = re.compile(r"(?<![\w.])(0x[\da-fA-F]+|\d+(?:\.\d+)?)(?=[uUlLfF]*(?![\w.]))")
BOOLEAN = re.compile(r"\b(true|false)\b")
NOT = re.compile(r"!(?=[\w(*:])")
CONDITION = re.compile(r"\b(?:if|while) \(")
RETURN = re.compile(r"\breturn (?!(?:\{\}|nullptr|std::nullopt|false|true|0);)")
# A call whose result is not used, or an assignment; a declaration has a blank between two words before that.
STATEMENT = re.compile(r"(?<=[;{}])\s*(?!(?:return|throw|if|for|while|switch|do|else|case|using|static_cast)\b)"
                       r"((?:\+\+|--|\*)?[A-Za-z_][\w:]*(?:<[^;(){}]*>)?(?:\(|\.|->|\[| [-+*/|&]?= |\+\+|--))")
CONSTANT = re.compile(r"^(?:inline |static )*const(?:expr)? ")


def blanked(text):
    """The text, as long as before, with blanks for comments, log lines and preprocessor lines and '"' for strings."""
    return NOT_CODE.sub(lambda found: re.sub(r"[^\n]", '"' if found[0][0] in "\"R'" else " ", found[0]), text)


def regions(code):
    """For each character whether it belongs to a function's body ("b"), a constant ("c") or neither (" ")."""
    kinds, stack, boundary = [" "] * len(code), [], 0
    for i, character in enumerate(code):
        if stack and stack[-1] == "b":
            kinds[i] = "b"
        elif not stack or stack[-1] in "nc":
            head = code[boundary : i + 1].lstrip()
            kinds[i] = "c" if CONSTANT.match(head) and "(" not in head.split("=")[0] else " "
        if character == "{":
            head = code[boundary:i].strip()
            if stack and stack[-1] == "b":
                stack.append("b")
            elif re.search(r"\b(class|struct|union|enum)\b", head) and not head.endswith(")"):
                stack.append("d")
            elif re.search(r"\bnamespace\b|^extern\b", head):
                stack.append("n")
            elif kinds[i] == "c":
                stack.append("c")
            else:
                stack.append("b" if ")" in head or not head or head[0] == "," else "d")
            boundary = i + 1 if stack[-1] != "c" else boundary
        elif character == "}" and stack:
            boundary = boundary if stack.pop() == "c" else i + 1
        elif character == ";" and (not stack or stack[-1] != "c"):
            boundary = i + 1
    return kinds


def closing(code, start, ends):
    """Where, from `start` on, one of `ends` comes outside all brackets; None when the brackets around close first."""
    depth = 0
    for i in range(start, len(code)):
        if depth == 0 and code[i] in ends:
            return i
        depth += (code[i] in "([{") - (code[i] in ")]}")
        if depth < 0:
            return None
    return None


def other_number(digits, rng):
    if "." in digits:
        return "1.0" if float(digits) == 0 else rng.choice([f"{float(digits) * 2}", f"{float(digits) / 2}"])
    value = int(digits, 0)
    return str(value + 1 if value == 0 else rng.choice([value + 1, value - 1, value * 2]))


def changes(code, rng):
    """All (region, kind, start, end, replacement) of a source without its comments and strings."""
    for found in OPERATOR.finditer(code):
        beside_text = '"' in code[found.start() - 2] + code[found.end() + 1 : found.end() + 2]
        if not (beside_text and found[1][0] in "+-*/%"):
            kind = "logic" if found[1] in ("&&", "||") else "arithmetic" if found[1][0] in "+-*/%" else "relation"
            yield "b", kind, *found.span(), OPERATORS[found[1]]
    for found in STEP.finditer(code):
        yield "b", "arithmetic", *found.span(), "--" if found[0] == "++" else "++"
    for found in NUMBER.finditer(code):
        yield "bc", "constant", *found.span(1), other_number(found[1], rng)
    for found in BOOLEAN.finditer(code):
        yield "bc", "constant", *found.span(), "false" if found[0] == "true" else "true"
    for found in NOT.finditer(code):
        yield "b", "dropped !", *found.span(), ""
    for found in CONDITION.finditer(code):
        end = closing(code, found.end(), ")")
        if end and not re.search(r"[;{]|[^=!<>]=[^=]", code[found.end() : end]):
            yield "b", "negated condition", found.end(), end, "!(" + code[found.end() : end] + ")"
    for found in RETURN.finditer(code):  # what follows stays, so that nothing becomes unused
        yield "b", "returned default", found.start(), found.start(), "if (true) { return {}; } "
    for found in STATEMENT.finditer(code):
        end = closing(code, found.start(1), ";")
        only_faster = re.search(r"\b(reserve|shrink_to_fit)\(", code[found.start(1) : end])
        if end and not only_faster and code.count("\n", found.start(1), end) < 12:
            yield "b", "removed statement", found.start(1), found.start(1), "if (false) "
    for found in re.finditer(r"\bvoid [\w:]+\([^;{}]*\{\n(?=\s*[^\s}])", code):
        yield "b", "early return", found.end(), found.end(), "if (true) { return; }\n"


def mutants_of(path, rng):
    """Every place of a file as a dictionary: its lines as they are ("old") and as the mutant has them ("new")."""
    text = path.read_text()
    code = blanked(text)
    kinds = regions(code)
    wanted = "b" if path.suffix == ".h" else "bc"
    for where, kind, start, end, replacement in changes(code, rng):
        names_line = text[:start].endswith(']", ')  # that the log gives behind the name of a function
        if kinds[start] not in where or kinds[start] not in wanted or names_line:
            continue
        replacement = replacement if "!(" not in replacement else "!(" + text[start:end] + ")"
        first = text.rfind("\n", 0, start) + 1
        last = text.find("\n", max(start, end))
        new = text[first:start] + replacement + text[end:last]
        yield {"line": text.count("\n", 0, start) + 1, "kind": kind, "old": text[first:last], "new": new}
