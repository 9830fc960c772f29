// What any C++ program costs before it does anything: the floor below what loading the library costs.

int main() {}
