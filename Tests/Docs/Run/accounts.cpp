void records();

int main()
{
    records();
}
