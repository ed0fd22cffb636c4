# Turns the help of ssd-op and of its commands, as make collects it, into parts of a manual page.
# part=commands: a subsection for each command; part=codes: the exit codes of the program.

function roff(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    if (text ~ /^[.']/) text = "\\&" text
    return text
}

function end_examples() {
    if (section == "examples") print ".EE\n.RE"
}

# An option or argument: its name in bold, what it takes, and on the next line what it is for.
function show_option(line, space, name, word) {
    sub(/^ +/, "", line)
    space = match(line, /  +/)
    name = space ? substr(line, 1, space - 1) : line
    word = name
    sub(/ .*/, "", word)
    printf ".TP\n.BR \"%s\" \"%s\"\n", roff(word), roff(substr(name, length(word) + 1))
    if (space) print roff(substr(line, space + RLENGTH))
}

/^@HELP/ {
    end_examples()
    is_program = NF == 1
    section = "description"
    next
}

is_program {
    if (/^Exit codes:$/) section = "codes"
    else if (/^ *$/) section = ""
    else if (section == "codes" && part == "codes") {
        if (/^  [0-9]/) printf ".TP\n.B %s\n", $1
        print roff(substr($0, 6))
    }
    next
}

part != "commands" { next }

section == "description" && !/^Usage: / { description = description roff($0) "\n"; next }
/^Usage: / {
    sub(/^Usage: /, "")
    printf ".SS %s\n%s", roff($0), description
    description = ""
    section = ""
    next
}

/^ *(Positionals|Options):$/ { section = "options"; next }
/^Subcommands:$/ { section = "subcommands"; next } # they follow
/^\[Option Group: / { next }
/^ *\[.*\]$/ { gsub(/^ *\[|\]$/, ""); printf ".PP\n%s:\n", roff($0); next }
/^Examples?:$/ { printf ".PP\n%s\n.RS 4\n.EX\n", $0; section = "examples"; next }
/^ *$/ {
    end_examples()
    section = "text"
    paragraph = ".PP\n"
    next
}

section == "options" && /^ *-h,--help/ { next }
section == "options" && /^ +[^ ]/ && match($0, /[^ ]/) > 30 { sub(/^ +/, ""); print roff($0); next }
section == "options" { show_option($0); next }
section == "examples" { sub(/^  /, ""); print roff($0); next }
section == "text" { printf "%s%s\n", paragraph, roff($0); paragraph = "" }

END { end_examples() }
