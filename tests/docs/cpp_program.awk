# The program that the C++ blocks of a document make: those fenced as "cpp top" in front of main(), those fenced as "cpp"
# in it. With -v answers=FILE, what it must print: the comments behind the statements that print.
/^```/ { block = block == "" ? substr($0, 4) : ""; next }
block == "cpp top" { top = top $0 "\n" }
block == "cpp" {
    body = body "    " $0 "\n"
    if (answers != "" && /std::cout.*;  *\/\/ /) {
        sub(/.*;  *\/\/ /, "")
        print > answers
    }
}
END { if (answers == "") printf "%s\nint main()\n{\n%s}\n", top, body }
