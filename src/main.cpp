// Placeholder until the application shell lands.
int main()
{
    return 0;
}
