#!/usr/bin/env python3
"""Writes corva.1 from the program's own help, so that the page lists every
command the build has, with the usage and text 'corva help COMMAND' gives.

    make_manpage.py CORVA VERSION OUTPUT
"""
import subprocess
import sys


def run(corva, *args):
    return subprocess.run([corva, *args], capture_output=True, text=True, check=True).stdout


def roff(text):
    """Plain text as troff: backslashes escaped, no line read as a request."""
    lines = []
    for line in text.replace("\\", "\\e").split("\n"):
        if line.startswith((".", "'")):
            line = "\\&" + line
        lines.append(line)
    return "\n".join(lines)


def commands(usage_text):
    """(name, summary, developer) for each line under the command headings."""
    found, section = [], None
    for line in usage_text.splitlines():
        if line.rstrip().endswith("commands:") or line.strip() == "Commands:":
            section = "developer" if line.strip().startswith("Developer") else "user"
            continue
        if section and line.startswith("  ") and not line.startswith("   "):
            name, _, summary = line.strip().partition(" ")
            found.append((name, summary.strip(), section == "developer"))
        elif section and not line.strip():
            section = None
    return found


def main():
    corva, version, output = sys.argv[1:4]
    usage = run(corva, "--help")
    page = [
        '.TH CORVA 1 "" "Corva %s" "User Commands"' % version,
        ".SH NAME",
        "corva \\- mail client that deletes junk on the server",
        ".SH SYNOPSIS",
        ".B corva",
        "[\\fB\\-\\-home\\fR \\fIDIR\\fR] [\\fImailto:ADDRESS\\fR | \\fIFILE.eml\\fR]",
        ".br",
        ".B corva",
        "[\\fB\\-\\-home\\fR \\fIDIR\\fR] \\fICOMMAND\\fR [\\fIARGUMENTS\\fR]",
        ".SH DESCRIPTION",
        "Corva reads mail over POP3 and sends it over SMTP. Its scanner judges the",
        "headers of the mail on the servers by block lists, filter rules and a",
        "Bayesian word table, and deletes junk on the server before it is downloaded;",
        "its mailer keeps mail as plain message files in a local store.",
        ".PP",
        "Without a command Corva opens its windows. Only one copy runs for a program",
        "folder: a second start hands its mail link or message file to the running",
        "copy, which opens a new message or the reader, and a start with nothing",
        "brings the running copy forward. While the window runs, commands that would",
        "change settings or lists are refused; commands that only read run as usual.",
        ".SH COMMANDS",
    ]
    developer_heading = False
    for name, summary, developer in commands(usage):
        if developer and not developer_heading:
            page.append(".SH DEVELOPER COMMANDS")
            developer_heading = True
        # 'corva help NAME' is "Usage: ...", a blank line, the summary, and
        # more text after another blank line.
        detail = run(corva, "help", name).replace("Usage: ", "", 1).rstrip()
        usage, _, rest = detail.partition("\n\n")
        rest = rest.strip()
        if rest.startswith(summary):
            rest = rest[len(summary):].strip()
        page += [".SS " + roff(name), ".nf", roff("\n".join(l.strip() for l in usage.split("\n"))),
                 ".fi", ".PP", roff(summary)]
        if rest:
            page += [".PP", ".nf", roff(rest), ".fi"]
    page += [
        ".SH OPTIONS",
        ".TP",
        ".BI \\-\\-home \" DIR\"",
        "The program folder; by default \\fB$CORVA_HOME\\fR, else",
        "\\fB$XDG_DATA_HOME/corva\\fR, else \\fI~/.local/share/corva\\fR.",
        ".TP",
        ".B \\-\\-help",
        "The commands, or with \\fBcorva help\\fR \\fICOMMAND\\fR one command in full.",
        ".TP",
        ".B \\-\\-version",
        "The version.",
        ".SH EXIT STATUS",
        "0 done; 1 the work failed (a server, a file), or a running window holds the",
        "program folder; 2 the command line was wrong.",
        ".SH FILES",
        ".TP",
        ".I ~/.local/share/corva/Corva.ini",
        "Settings and accounts, readable by their owner only.",
        ".TP",
        ".I ~/.local/share/corva/Messages/",
        "The mail store, one folder per mail folder and one file per message.",
        "",
    ]
    with open(output, "w", encoding="utf-8") as out:
        out.write("\n".join(page))


if __name__ == "__main__":
    main()
