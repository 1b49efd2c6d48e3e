#include <iostream>
int main() { std::cout << "0.0.0.0 (built on " RQ7_BUILD_STAMP ")" << std::endl; return 0; }
