"""Every text that the programs can show or log, read from their sources, to compare with what documents quote.

A text is compared without the marks of its keys, and with "…" for whatever is filled in.
"""
import html
import re

# Comments and literals, so that a quote in a comment is no text; the raw ones hold the help of the programs.
TOKEN = re.compile(r"""//[^\n]*|/\*.*?\*/|R"([^(\s]*)\((.*?)\)\1"|(?:u8|u|U|L)?"((?:\\.|[^"\\\n])*)"|"""
                   r"""(?<![0-9a-fA-F])'(?:\\.|[^'\\\n])*'""", re.DOTALL)
INTERFACE_TEXT = re.compile(r"<string[^>]*>([^<]*)</string>")
# QString's %1, printf's %lu, and a per cent sign that stands for itself.
FILLED_IN = re.compile(r"%\d+|%-?\d*(?:\.\d+)?(?:hh|h|ll|l|z)?[sdiuxXfcp]|%%")
ESCAPES = {r"\"": '"', r"\n": "\n", r"\t": "\t", r"\\": "\\"}


def plain(text):
    """A text of the sources as it is compared."""
    text = FILLED_IN.sub(lambda match: "%" if match.group() == "%%" else "…", text)
    return " ".join(re.sub(r"&(\S)", r"\1", text).split())


def texts_of_source(source):
    """The literals of a C++ source, those that stand side by side joined as the compiler joins them."""
    texts, joined, end = [], None, 0
    for match in TOKEN.finditer(source):
        adjacent = not source[end:match.start()].strip()
        if match.group().startswith("/"):  # a comment may stand between two that are joined
            end = match.end() if adjacent else end
        if match.group(3) is None:
            continue
        piece = re.sub(r'\\["nt\\]', lambda escape: ESCAPES[escape.group()], match.group(3))
        if joined is not None and adjacent:
            joined += piece
        else:
            texts.append(joined or "")
            joined = piece
        end = match.end()
    return [*texts, joined or ""]


def texts_of_interface(source):
    """The texts of an interface file of Qt Designer."""
    return [html.unescape(text) for text in INTERFACE_TEXT.findall(source)]


class ShownTexts:
    def __init__(self):
        self._texts = set()

    def add(self, path, content):
        texts = texts_of_interface(content) if path.endswith(".ui") else texts_of_source(content)
        self._texts |= {plain(text) for text in texts}

    def has(self, quoted):
        return " ".join(quoted.split()) in self._texts
