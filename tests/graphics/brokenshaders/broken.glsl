void main()
{
    this is no shader
}
