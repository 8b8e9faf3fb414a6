"""What `wickerlane help` says."""

import os
import re
import subprocess
from collections.abc import Iterator

ENGLISH = {**{name: value for name, value in os.environ.items() if name != 'LANGUAGE'}, 'LC_ALL': 'C'}


def help_of(command: str, words: list[str]) -> str:
    return subprocess.run([command, 'help', *words], check=True, capture_output=True, encoding='utf-8',
                          env=ENGLISH).stdout


def subcommands(text: str) -> list[str]:
    """Those under headings that are not of options, arguments or examples: a name, and a summary from column 16 on."""
    return re.findall(r'^  (?=.{14}[A-Z]|[a-z-]{14,}\n {16}[A-Z])([a-z][a-z-]*)\s+[A-Z]', text, re.MULTILINE)


def helps(command: str) -> Iterator[tuple[str, str]]:
    """The name of each subcommand, with its help and that of what it has itself."""
    top = help_of(command, [])
    names = subcommands(top)
    assert len(names) > 30, names
    for name in names:
        text = help_of(command, [name])
        yield name, '\n'.join([text, *(help_of(command, [name, part]) for part in subcommands(text))])


def written_examples(source: str) -> list[str]:
    """Of a page that is written by hand: those under EXAMPLES, and commands in bold that are whole."""
    _, _, under = source.partition('\n# EXAMPLES\n')
    blocks = re.findall(r'^```\n(.*?)^```$', under.partition('\n# ')[0], re.MULTILINE | re.DOTALL)
    lines = ''.join(blocks).splitlines()
    lines += re.findall(r'(?<!\S)\*((?:wickerlane|hoardd|journalctl|systemctl) [^*]+)\*(?! _)', source)
    return list(dict.fromkeys(lines))


def examples(text: str) -> list[str]:
    lines: list[str] = []
    for block in re.findall(r'^Examples?:\n((?:  .*\n)+)', text, re.MULTILINE):
        lines += [line.strip() for line in block.splitlines()]
    return list(dict.fromkeys(lines))
