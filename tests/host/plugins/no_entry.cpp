// A library that is no plug-in.

int anythingElse() {
    return 0;
}
