# make_document SIZE FILE: an XML configuration document with so many extra settings.
make_document() {
    awk -v count="$1" 'BEGIN {
        print "<KSAgentConfiguration><KSName>kell.example</KSName><ExtraConfigSettings>"
        for (i = 1; i <= count; ++i)
            printf "  <Setting Section=\"Section %d\" Name=\"option_%d\" Value=\"the value of option %d\"/>\n", i % 10, i, i
        print "</ExtraConfigSettings></KSAgentConfiguration>"
    }' >"$2"
}
