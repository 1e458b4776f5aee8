#pragma once
// The OpenGL 2.1 entry points Spectrola draws with, looked up through the host's device record
// (never linked directly, so the plug-in uses exactly the host's context and driver).
//
// Threading: loaded and used on the host's render thread only.

#include <GL/gl.h>

#include "visual/TunivoxVisPlugin.h"

#define SPECTROLA_GL_FUNCTIONS(X)                                                                               \
    X(void, Viewport, GLint, GLint, GLsizei, GLsizei)                                                          \
    X(void, ClearColor, GLfloat, GLfloat, GLfloat, GLfloat)                                                    \
    X(void, Clear, GLbitfield)                                                                                 \
    X(void, Enable, GLenum)                                                                                    \
    X(void, Disable, GLenum)                                                                                   \
    X(void, BlendFunc, GLenum, GLenum)                                                                         \
    X(void, LineWidth, GLfloat)                                                                                \
    X(void, PixelStorei, GLenum, GLint)                                                                        \
    X(void, DrawArrays, GLenum, GLint, GLsizei)                                                                \
    X(void, GenTextures, GLsizei, GLuint*)                                                                     \
    X(void, DeleteTextures, GLsizei, const GLuint*)                                                            \
    X(void, BindTexture, GLenum, GLuint)                                                                       \
    X(void, TexParameteri, GLenum, GLenum, GLint)                                                              \
    X(void, TexImage2D, GLenum, GLint, GLint, GLsizei, GLsizei, GLint, GLenum, GLenum, const void*)            \
    X(void, TexSubImage2D, GLenum, GLint, GLint, GLint, GLsizei, GLsizei, GLenum, GLenum, const void*)         \
    X(void, ActiveTexture, GLenum)                                                                             \
    X(void, BindFramebuffer, GLenum, GLuint)                                                                   \
    X(GLuint, CreateShader, GLenum)                                                                            \
    X(void, ShaderSource, GLuint, GLsizei, const GLchar* const*, const GLint*)                                 \
    X(void, CompileShader, GLuint)                                                                             \
    X(void, GetShaderiv, GLuint, GLenum, GLint*)                                                               \
    X(void, DeleteShader, GLuint)                                                                              \
    X(GLuint, CreateProgram)                                                                                   \
    X(void, AttachShader, GLuint, GLuint)                                                                      \
    X(void, BindAttribLocation, GLuint, GLuint, const GLchar*)                                                 \
    X(void, LinkProgram, GLuint)                                                                               \
    X(void, GetProgramiv, GLuint, GLenum, GLint*)                                                              \
    X(void, DeleteProgram, GLuint)                                                                             \
    X(void, UseProgram, GLuint)                                                                                \
    X(GLint, GetUniformLocation, GLuint, const GLchar*)                                                        \
    X(void, Uniform1i, GLint, GLint)                                                                           \
    X(void, Uniform1f, GLint, GLfloat)                                                                         \
    X(void, Uniform2f, GLint, GLfloat, GLfloat)                                                                \
    X(void, GenBuffers, GLsizei, GLuint*)                                                                      \
    X(void, DeleteBuffers, GLsizei, const GLuint*)                                                             \
    X(void, BindBuffer, GLenum, GLuint)                                                                        \
    X(void, BufferData, GLenum, GLsizeiptr, const void*, GLenum)                                               \
    X(void, EnableVertexAttribArray, GLuint)                                                                   \
    X(void, DisableVertexAttribArray, GLuint)                                                                  \
    X(void, VertexAttribPointer, GLuint, GLint, GLenum, GLboolean, GLsizei, const void*)

struct SpectrolaGl
{
#define SPECTROLA_GL_MEMBER(ret, name, ...) ret (*name)(__VA_ARGS__) = nullptr;
    SPECTROLA_GL_FUNCTIONS(SPECTROLA_GL_MEMBER)
#undef SPECTROLA_GL_MEMBER

    // False when the host gives no lookup or any entry point is missing.
    bool Load(const tMP3VisHostDevice* pDevice)
    {
        if (!pDevice || !pDevice->GetProcAddress)
            return false;
        bool bAll = true;
#define SPECTROLA_GL_LOAD(ret, name, ...)                                                                      \
    name = reinterpret_cast<ret (*)(__VA_ARGS__)>(pDevice->GetProcAddress("gl" #name));                        \
    bAll = bAll && name != nullptr;
        SPECTROLA_GL_FUNCTIONS(SPECTROLA_GL_LOAD)
#undef SPECTROLA_GL_LOAD
        return bAll;
    }
};
