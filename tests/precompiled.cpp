// A program of nothing but the headers that all tests share.
int main() {
  return 0;
}
