// Does nothing: what its start takes is the loading of what it is linked to.
int main() {
    return 0;
}
