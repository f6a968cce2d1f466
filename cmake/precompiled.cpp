// Is compiled for its precompiled headers only.
int main() {}
